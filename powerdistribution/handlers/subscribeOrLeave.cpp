#include "powerdistribution/handlers/subscribeOrLeave.h"

#include <exception>

namespace velk::powerdistribution::handlers {

namespace {

void leave(connectors::IConnector& connector, const HandlerData& data,
           connectors::IConnectorListener* listener) noexcept {
    try {
        connector.unsubscribe(data, listener);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // The failure of the subscription is the one that the caller has to hear of.
    }
}

} // namespace

void subscribeOrLeave(connectors::IConnector& connector, const HandlerData& data,
                      connectors::IConnectorListener* listener,
                      const connectors::SubscriptionOptions& options) {
    try {
        connector.subscribe(data, listener, options);
    } catch (...) {
        leave(connector, data, listener);
        throw;
    }
}

} // namespace velk::powerdistribution::handlers
