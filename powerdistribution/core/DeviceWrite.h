#pragma once

#include "platform/common/UnixTime.h"
#include "powerdistribution/core/Value.h"

#include <functional>
#include <string>

namespace velk::powerdistribution {

/// One write to the device and how it ended. A plain value.
struct DeviceWrite {
    std::string device;  ///< the node that was written, as text: "Outlets.1"; empty for the device itself
    std::string channel; ///< the data point: "Setting.AutomaticSwitchOffDelay"
    Value asked;         ///< what was to be written
    bool accepted{false};
    std::string error;   ///< the text of the exception that the write ended with; empty for none
    conv::UnixTime time; ///< when the write ended
};

/// Hears of every write of a setting or action to the device. Threads: whichever thread wrote; an exception
/// that it throws is dropped.
using DeviceWriteListener = std::function<void(const DeviceWrite&)>;

} // namespace velk::powerdistribution
