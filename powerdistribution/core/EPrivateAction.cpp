#include "powerdistribution/core/EPrivateAction.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto privateActionRows = std::to_array<EnumText<EPrivateAction>>({
    {EPrivateAction::ExportKdp,          "PrivateAction.ExportKdp"},
    {EPrivateAction::SetDate,            "PrivateAction.SetDate"},
    {EPrivateAction::SetFirmwareVersion, "PrivateAction.SetFirmwareVersion"},
    {EPrivateAction::SetIpv4Address,     "PrivateAction.SetIpv4Address"},
    {EPrivateAction::SetIpv6Address,     "PrivateAction.SetIpv6Address"},
    {EPrivateAction::SetMacAddress,      "PrivateAction.SetMacAddress"},
    {EPrivateAction::SetProductName,     "PrivateAction.SetProductName"},
});
// clang-format on

static_assert(areRowsWellFormed(privateActionRows));

} // namespace

std::string to_string(EPrivateAction value) {
    return findText(privateActionRows, value);
}

} // namespace velk::powerdistribution
