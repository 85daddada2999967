#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/connectors/HandlerData.h"
#include "powerdistribution/connectors/IConnectorListener.h"
#include "powerdistribution/connectors/SubscriptionOptions.h"
#include "powerdistribution/connectors/TessResources.h"

#include <memory>

namespace velk::powerdistribution::connectors {

/// The only way of a handler to the store. The order of the operations is contract.
/// Failures are `PowerDistributionError`s; those of the store client pass through.
class VELK_EXPORT IConnector {
public:
    virtual ~IConnector();

    /// Called by each handler before its first `load`, so a shared connector gets it many times.
    virtual void init() = 0;

    /// Called by each handler when the model is stopped; drops cached identifiers and store subscriptions.
    virtual void terminate() = 0;

    /// Registers `listener` for the value that `data`'s path names.
    virtual void subscribe(const handlers::HandlerData& data, IConnectorListener* listener,
                           const SubscriptionOptions& options) = 0;

    /// Removes that registration; waits for a callback that is running in the listener, unless called from
    /// it.
    virtual void unsubscribe(const handlers::HandlerData& data, IConnectorListener* listener) = 0;

    /// Fills `data`'s value from the store; empty when the store holds none.
    virtual void load(handlers::HandlerData& data) const = 0;

    /// Writes `data`'s value to the store.
    virtual void store(const handlers::HandlerData& data) = 0;

    /// What this connector owns in the store.
    virtual TessResources getResourcesInUse() const = 0;
};

using ConnectorPtr = std::shared_ptr<IConnector>;

} // namespace velk::powerdistribution::connectors
