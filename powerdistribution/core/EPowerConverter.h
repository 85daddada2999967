#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Kinds of power converter between source and load.
/// The numbers are contract: they travel in paths and never change.
enum class EPowerConverter : std::uint32_t {
    Rectifier = 1,
    Inverter = 2,
    AutomaticBypass = 3,
    MaintenanceBypass = 4,
    Avr = 5,
    TransferSwitch = 6,
    DcBus = 7,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(EPowerConverter value);

} // namespace velk::powerdistribution
