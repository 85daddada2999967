#pragma once

// What a device consists of, told from the names and values of its variables. A count is 0 where the device
// has no such part.

#include "plugins/nut/Snapshot.h"

#include <cstdint>
#include <string_view>

namespace velk::nut {

/// No device has more outlets, groups or inputs; a larger number is a driver's mistake.
constexpr std::uint32_t MOST_CIRCUITS = 1024;

/// Whether a variable's name begins with `prefix`.
bool hasAnyOf(const Snapshot& snapshot, std::string_view prefix);

std::uint32_t inputCount(const Snapshot& snapshot);
std::uint32_t outputCount(const Snapshot& snapshot);
std::uint32_t outletCount(const Snapshot& snapshot);
std::uint32_t branchCount(const Snapshot& snapshot);
/// Phases with variables of their own, of the circuit whose variables begin with `circuit`, such as
/// "input.bypass."; at most as many as the device says.
std::uint32_t phaseCount(const Snapshot& snapshot, std::string_view circuit);
std::uint32_t storageModuleCount(const Snapshot& snapshot);

std::uint32_t chargerCount(const Snapshot& snapshot);

bool hasOutput(const Snapshot& snapshot);
bool isTransferSwitch(const Snapshot& snapshot);
/// A UPS, and everything else that tells of a battery.
bool hasBattery(const Snapshot& snapshot);
bool hasEnvironment(const Snapshot& snapshot);
bool hasPowerModules(const Snapshot& snapshot);

// The kinds of converter that a device tells of.
bool hasVoltageRegulator(const Snapshot& snapshot);
bool hasAutomaticBypass(const Snapshot& snapshot);
bool hasInverter(const Snapshot& snapshot);
/// Any of these, or a transfer switch.
bool hasConverters(const Snapshot& snapshot);

} // namespace velk::nut
