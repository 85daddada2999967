#pragma once

#include "platform/common/Mutex.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "testing/CallLog.h"

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace velk::testing {

/// A handler that writes what it was asked into a log: "initialize PATH", "refresh PATH", "terminate PATH",
/// "register PATH", "unregister PATH". Threads: any.
class RecordingHandler : public velk::powerdistribution::handlers::BaseHandler {
public:
    using EPath = velk::powerdistribution::EPath;
    using Value = velk::powerdistribution::Value;
    using IHandlerObserver = velk::powerdistribution::handlers::IHandlerObserver;

    RecordingHandler(const EPath& path, std::shared_ptr<CallLog> sharedLog) :
        BaseHandler{path}, log{std::move(sharedLog)} {}

    /// The operation throws std::runtime_error with `text` after it was logged; an empty text ends it.
    void throwOn(const std::string& operation, const std::string& text) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        failures[operation] = text;
    }

    /// Tells the observers on this thread.
    void tell(const Value& value) const { notifyObservers(value); }

    void initialize() override { called("initialize"); }
    void terminate() override { called("terminate"); }
    void refresh() override { called("refresh"); }
    void registerObserver(IHandlerObserver& observer) override {
        called("register");
        BaseHandler::registerObserver(observer);
    }
    void unregisterObserver(IHandlerObserver& observer) override {
        called("unregister");
        BaseHandler::unregisterObserver(observer);
    }

private:
    void called(const std::string& operation) VELK_EXCLUDES(mutex) {
        log->add(operation + " " + epath().nodesToString());
        velk::common::MutexLock lock{mutex};
        if (const std::string& text = failures[operation]; !text.empty()) {
            throw std::runtime_error{text};
        }
    }

    const std::shared_ptr<CallLog> log;
    velk::common::Mutex mutex;
    std::map<std::string, std::string> failures VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
