#pragma once

#include "powerdistribution/core/Value.h"

namespace velk::powerdistribution::handlers {

/// Hears of the values of a handler. Never owned by one.
class IHandlerObserver {
public:
    virtual ~IHandlerObserver();

    /// Threads: whichever refreshed, initialised or terminated the handler.
    virtual void onValueChanged(const Value& value) = 0;
};

} // namespace velk::powerdistribution::handlers
