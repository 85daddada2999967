#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Data points between the plug-in and the library; none of them reaches the store as a value.
/// The numbers are contract: they travel in paths and never change.
enum class EPrivate : std::uint32_t {
    AlarmConfigurationFile = 1,
    InternalLogs = 2,
    LogChunk = 3,
    LogTopId = 4,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(EPrivate value);

} // namespace velk::powerdistribution
