#pragma once

#include "powerdistribution/connectors/IConnector.h"

namespace velk::powerdistribution::handlers {

/// Subscribes `listener`, as the last step of its constructor. A failure leaves nothing behind: a handler
/// whose constructor throws has no destructor to unsubscribe in, so it is done here, and the failure goes on.
void subscribeOrLeave(connectors::IConnector& connector, const HandlerData& data,
                      connectors::IConnectorListener* listener,
                      const connectors::SubscriptionOptions& options);

} // namespace velk::powerdistribution::handlers
