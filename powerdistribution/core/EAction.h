#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// What the device can be told to do.
/// The numbers are contract: they travel in paths and never change.
enum class EAction : std::uint32_t {
    AbortTest = 1,
    CancelSwitchOff = 2,
    CancelSwitchOffWithAutoRestart = 3,
    CancelSwitchOn = 4,
    StartTest = 5,
    SwitchOff = 6,
    SwitchOffWithAutoRestart = 7,
    SwitchOn = 8,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(EAction value);

} // namespace velk::powerdistribution
