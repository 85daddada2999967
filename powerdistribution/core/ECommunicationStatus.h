#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Whether the device can be reached, and since when.
/// The numbers are contract: they travel in paths and never change.
enum class ECommunicationStatus : std::uint32_t {
    State = 1,
    Since = 2,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(ECommunicationStatus value);

} // namespace velk::powerdistribution
