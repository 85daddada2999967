#include "powerdistribution/core/EAttribute.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto attributeRows = std::to_array<EnumText<EAttribute>>({
    {EAttribute::Count,           "Attribute.Count"},
    {EAttribute::CurrentDate,     "Attribute.CurrentDate"},
    {EAttribute::FirmwareVersion, "Attribute.FirmwareVersion"},
    {EAttribute::FriendlyName,    "Attribute.FriendlyName"},
    {EAttribute::HardwareVersion, "Attribute.HardwareVersion"},
    {EAttribute::Ipv4,            "Attribute.Ipv4"},
    {EAttribute::Ipv6,            "Attribute.Ipv6"},
    {EAttribute::Location,        "Attribute.Location"},
    {EAttribute::Model,           "Attribute.Model"},
    {EAttribute::MacAddress,      "Attribute.MacAddress"},
    {EAttribute::Manufacturer,    "Attribute.Manufacturer"},
    {EAttribute::PartNumber,      "Attribute.PartNumber"},
    {EAttribute::PhysicalName,    "Attribute.PhysicalName"},
    {EAttribute::ProductName,     "Attribute.ProductName"},
    {EAttribute::ReferenceNumber, "Attribute.ReferenceNumber"},
    {EAttribute::SerialNumber,    "Attribute.SerialNumber"},
    {EAttribute::Uuid,            "Attribute.Uuid"},
    {EAttribute::Vendor,          "Attribute.Vendor"},
});
// clang-format on

static_assert(areRowsWellFormed(attributeRows));

} // namespace

std::string to_string(EAttribute value) {
    return findText(attributeRows, value);
}

} // namespace velk::powerdistribution
