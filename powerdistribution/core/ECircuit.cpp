#include "powerdistribution/core/ECircuit.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto circuitRows = std::to_array<EnumText<ECircuit>>({
    {ECircuit::PowerEquipment,    "PowerEquipment"},
    {ECircuit::PowerDistribution, "PowerDistribution"},
    {ECircuit::Inputs,            "Inputs"},
    {ECircuit::Outputs,           "Outputs"},
    {ECircuit::Branches,          "Branches"},
    {ECircuit::Environment,       "Environment"},
    {ECircuit::Phases,            "Phases"},
    {ECircuit::Outlets,           "Outlets"},
    {ECircuit::PowerConverters,   "PowerConverters"},
    {ECircuit::PowerModules,      "PowerModules"},
    {ECircuit::BackupSystem,      "BackupSystem"},
    {ECircuit::PowerBank,         "PowerBank"},
    {ECircuit::Chargers,          "Chargers"},
    {ECircuit::StorageModules,    "StorageModules"},
    {ECircuit::Connectivity,      "Connectivity"},
    {ECircuit::Synchroniser,      "Synchroniser"},
});
// clang-format on

static_assert(areRowsWellFormed(circuitRows));

} // namespace

std::string to_string(ECircuit value) {
    return findText(circuitRows, value);
}

} // namespace velk::powerdistribution
