#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Facts of the host that are written into the device.
/// The numbers are contract: they travel in paths and never change.
enum class EPrivateAction : std::uint32_t {
    ExportKdp = 1,
    SetDate = 2,
    SetFirmwareVersion = 3,
    SetIpv4Address = 4,
    SetIpv6Address = 5,
    SetMacAddress = 6,
    SetProductName = 7,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(EPrivateAction value);

} // namespace velk::powerdistribution
