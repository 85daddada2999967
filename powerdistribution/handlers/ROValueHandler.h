#pragma once

#include "powerdistribution/handlers/BaseValueHandler.h"

namespace velk::powerdistribution::handlers {

/// A data point that goes from the device to the store: attributes, specifications, statuses, measurements.
/// Threads: see `BaseValueHandler`.
class ROValueHandler : public BaseValueHandler {
public:
    using BaseValueHandler::BaseValueHandler;
    ~ROValueHandler() override;

    void refresh() override VELK_EXCLUDES(lock);
};

} // namespace velk::powerdistribution::handlers
