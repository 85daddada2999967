#pragma once

#include "platform/common/Export.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Where the lifecycle stands. The enumerator is also its text.
enum class FsmState : std::uint32_t {
    BEGIN = 1,
    DISCOVER = 2,
    ENUMERATE = 3,
    BUILD = 4,
    INITIALIZE = 5,
    START = 6,
    MONITOR = 7,
    COMMUNICATION_LOST = 8,
    WAIT_COMMUNICATION_RECOVERY = 9,
    STOP = 10,
    END = 11,
};

/// "UNKNOWN" for a number without state.
VELK_EXPORT std::string to_string(FsmState state);

} // namespace velk::powerdistribution
