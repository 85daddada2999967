#pragma once

#include "platform/common/Export.h"
#include "platform/tessapi/LevelAlarm.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tessapi {

/// An active alarm of a device.
struct ActiveAlarm {
    bool present{true};
    LevelAlarm level{LevelAlarm::none};
    std::int32_t priority{-1};
    std::string code;
    std::uint64_t channel{~std::uint64_t{0}};
};

/// The alarms of the store's devices.
/// Threads: any.
class VELK_EXPORT DataAlarms {
public:
    virtual ~DataAlarms();

    /// Over the channels of `device` alone: the active alarm of the greatest level; among equals the smallest
    /// priority of 0 or more, then -1, then the lowest channel, then the order of the triggers. Null when
    /// none is active or the device is unknown.
    virtual std::unique_ptr<ActiveAlarm> getMostCritical(std::uint64_t device) = 0;
};

} // namespace tessapi
