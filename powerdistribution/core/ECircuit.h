#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Nodes of the electrical structure.
/// The numbers are contract: they travel in paths and never change.
enum class ECircuit : std::uint32_t {
    PowerEquipment = 1,
    PowerDistribution = 2,
    Inputs = 3,
    Outputs = 4,
    Branches = 5,
    Environment = 6,
    Phases = 7,
    Outlets = 8,
    PowerConverters = 9,
    PowerModules = 10,
    BackupSystem = 11,
    PowerBank = 12,
    Chargers = 13,
    StorageModules = 14,
    Connectivity = 15,
    Synchroniser = 16,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(ECircuit value);

} // namespace velk::powerdistribution
