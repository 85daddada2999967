#pragma once

#include "powerdistribution/core/EPath.h"
#include "powerdistribution/handlers/IHandlerObserver.h"

#include <memory>

namespace velk::powerdistribution::handlers {

/// One node of the data model: a part of the device's electrical structure, or one data point. The order of
/// the operations is contract.
///
/// Threads: `initialize`, `refresh` and `terminate` may come from any thread and meet each other, and
/// `initialize` may come more than once; each handler serialises them for itself. Observers are registered
/// and unregistered only while nothing refreshes the handler.
class IHandler {
public:
    virtual ~IHandler();

    /// Brings the node up: opens its connector, reads back what the store holds.
    virtual void initialize() = 0;

    /// Lets go of the connector.
    virtual void terminate() = 0;

    /// Reads the device and publishes what changed.
    virtual void refresh() = 0;

    virtual void registerObserver(IHandlerObserver& observer) = 0;
    virtual void unregisterObserver(IHandlerObserver& observer) = 0;

    /// The key of the node; never changes.
    virtual const EPath& epath() const = 0;
};

using HandlerPtr = std::shared_ptr<IHandler>;

} // namespace velk::powerdistribution::handlers
