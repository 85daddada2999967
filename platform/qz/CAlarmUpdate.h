#pragma once

#include <cstdint>

namespace tessapi {
enum class LevelAlarm : std::uint32_t;
}

namespace qz {

/// What the store tells of the alarms of one device.
struct CAlarmUpdate {
    bool present{false};         ///< false: nothing is said
    tessapi::LevelAlarm level{}; ///< of the most critical active alarm; good when none is left
    std::uint64_t deviceId{~std::uint64_t{0}};
};

} // namespace qz
