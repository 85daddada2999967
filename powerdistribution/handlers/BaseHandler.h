#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/handlers/IHandler.h"

#include <vector>

namespace velk::powerdistribution::handlers {

/// A node that has nothing to do by itself: what every handler begins from. A handler that has nothing to do
/// in an operation keeps the one of this class.
///
/// Threads: any, also while another one is telling the observers; an observer may then hear of a value after
/// it was unregistered, and must bear that.
class BaseHandler : public IHandler {
public:
    explicit BaseHandler(const EPath& path);
    ~BaseHandler() override;
    BaseHandler(const BaseHandler&) = delete;
    BaseHandler& operator=(const BaseHandler&) = delete;

    void initialize() override;
    void terminate() override;
    void refresh() override;

    /// Adds `observer`, unless the first observer that was ever registered in this process is registered
    /// here.
    void registerObserver(IHandlerObserver& observer) override VELK_EXCLUDES(observersLock);

    /// Removes the first observer that was ever unregistered in this process, if it is registered here, and
    /// all that were registered behind it.
    void unregisterObserver(IHandlerObserver& observer) override VELK_EXCLUDES(observersLock);

    const EPath& epath() const override;

protected:
    /// Tells all observers, in order of registration.
    void notifyObservers(const Value& value) const VELK_EXCLUDES(observersLock);

private:
    const EPath path;
    std::vector<IHandlerObserver*> observers VELK_GUARDED_BY(observersLock);
    mutable velk::common::Mutex observersLock;
};

} // namespace velk::powerdistribution::handlers
