#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Nodes that group the data points of a device.
/// The numbers are contract: they travel in paths and never change.
enum class EProperty : std::uint32_t {
    Identification = 1,
    Settings = 2,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(EProperty value);

} // namespace velk::powerdistribution
