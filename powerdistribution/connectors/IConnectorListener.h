#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/connectors/HandlerData.h"

namespace velk::powerdistribution::connectors {

/// Hears of values that come from the store. A connector never owns its listener: it unsubscribes before it
/// dies.
class VELK_EXPORT IConnectorListener {
public:
    virtual ~IConnectorListener();

    /// Threads: the store's client thread; the subscriber's own for the initial value.
    virtual void onConnectorValueChange(const handlers::HandlerData& data) = 0;
};

} // namespace velk::powerdistribution::connectors
