#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Who the device is: names, versions, addresses.
/// The numbers are contract: they travel in paths and never change.
enum class EAttribute : std::uint32_t {
    Count = 1,
    CurrentDate = 2,
    FirmwareVersion = 3,
    FriendlyName = 4,
    HardwareVersion = 5,
    Ipv4 = 6,
    Ipv6 = 7,
    Location = 8,
    Model = 9,
    MacAddress = 10,
    Manufacturer = 11,
    PartNumber = 12,
    PhysicalName = 13,
    ProductName = 14,
    ReferenceNumber = 15,
    SerialNumber = 16,
    Uuid = 17,
    Vendor = 18,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(EAttribute value);

} // namespace velk::powerdistribution
