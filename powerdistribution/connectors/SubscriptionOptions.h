#pragma once

namespace velk::powerdistribution::connectors {

/// What a subscriber wants to hear.
struct SubscriptionOptions {
    bool notifyEveryUpdate{false};  ///< also writes of an unchanged value
    bool notifyInitialValue{false}; ///< one call with the present value before `subscribe` returns
};

} // namespace velk::powerdistribution::connectors
