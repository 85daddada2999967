#pragma once

#include "platform/common/Export.h"

namespace velk::powerdistribution::handlers {
struct HandlerData;
}

namespace velk::powerdistribution::connectors {

/// What a connector may offer beside its contract: it wants to know early which data points it will serve, so
/// that it can make the places of several at once.
class VELK_EXPORT IExpectingConnector {
public:
    virtual ~IExpectingConnector();

    /// Called by whoever makes a handler, before it does: its data point will be used, and whenever the
    /// handler is initialised it loads or stores it, so that a value that got lost on its way to the store is
    /// not taken for stored for good. Threads: any.
    virtual void expect(const handlers::HandlerData& data) = 0;
};

} // namespace velk::powerdistribution::connectors
