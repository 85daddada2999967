#pragma once

#include "powerdistribution/core/InternalLogChunk.h"

#include <functional>
#include <string>

namespace velk::powerdistribution {

/// What one look at the device's event log gave. A plain value.
struct DeviceLogPiece {
    InternalLogChunk entries; ///< in the device's order; without any when there was nothing new
    std::string error;        ///< why the log could not be read; empty when it could
};

/// Hears of every look at the device's event log, the first of which only finds that there is one. The same
/// entries come again when the data model is built anew; what is left of the former one is not heard then.
/// Threads: whichever thread looked; an exception that it throws is dropped.
using DeviceLogListener = std::function<void(const DeviceLogPiece&)>;

} // namespace velk::powerdistribution
