#pragma once

#include <cstdint>

namespace tessapi {

/// How bad an alarm is, as the store counts it. The numbers are contract.
enum class LevelAlarm : std::uint32_t {
    none = 0, ///< names a state; never an alarm
    good = 4,
    info = 5,
    warning = 6,
    critical = 7,
};

} // namespace tessapi
