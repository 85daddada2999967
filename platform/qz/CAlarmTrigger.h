#pragma once

#include "platform/qz/CValue.h"

#include <cstdint>
#include <string>

namespace tessapi {
enum class LevelAlarm : std::uint32_t;
}

namespace qz {

/// When a value of a channel is an alarm. The evaluation is the store's.
struct CAlarmTrigger {
    tessapi::LevelAlarm level{}; ///< 0 names a state and is never an alarm
    std::int8_t type{-1};        ///< 1 upper, 2 lower, 3 equal, 4 in between, -1 never
    CValue threshold1;           ///< invalid: never matches
    CValue threshold2;           ///< upper end of type 4; unused otherwise
    std::int32_t priority{-1};   ///< 0 is the most important; -1 after all others
    std::string code;            ///< may be empty
    CValue extra;                ///< reserved, invalid
    std::uint32_t extraWord{0};  ///< reserved, 0

    friend bool operator==(const CAlarmTrigger&, const CAlarmTrigger&) = default;
};

} // namespace qz
