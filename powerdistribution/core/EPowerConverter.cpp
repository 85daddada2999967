#include "powerdistribution/core/EPowerConverter.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto powerConverterRows = std::to_array<EnumText<EPowerConverter>>({
    {EPowerConverter::Rectifier,         "Rectifier"},
    {EPowerConverter::Inverter,          "Inverter"},
    {EPowerConverter::AutomaticBypass,   "AutomaticBypass"},
    {EPowerConverter::MaintenanceBypass, "MaintenanceBypass"},
    {EPowerConverter::Avr,               "Avr"},
    {EPowerConverter::TransferSwitch,    "TransferSwitch"},
    {EPowerConverter::DcBus,             "DcBus"},
});
// clang-format on

static_assert(areRowsWellFormed(powerConverterRows));

} // namespace

std::string to_string(EPowerConverter value) {
    return findText(powerConverterRows, value);
}

} // namespace velk::powerdistribution
