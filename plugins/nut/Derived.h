#pragma once

// Data points that no single variable gives. Each is a `Compute` of the tables; empty means that the device
// does not say enough.

#include "plugins/nut/ComputedWrapper.h"
#include "plugins/nut/PathIndices.h"
#include "plugins/nut/Snapshot.h"
#include "powerdistribution/core/Value.h"

#include <string>
#include <string_view>

namespace velk::nut {

using powerdistribution::Value;

/// Whether a word stands in "ups.status". The text outlives the result, as a literal does.
Compute statusWord(std::string_view word);
/// `count` as uint32; empty for 0.
Compute counted(std::uint32_t (*count)(const Snapshot& snapshot));
Compute countedPhases(std::string circuit);

Value operatingMode(const Snapshot& snapshot, const PathIndices& indices);
Value topology(const Snapshot& snapshot, const PathIndices& indices);
Value shutdownImminent(const Snapshot& snapshot, const PathIndices& indices);
Value internalFailure(const Snapshot& snapshot, const PathIndices& indices);
Value currentDate(const Snapshot& snapshot, const PathIndices& indices);

Value inputSupplied(const Snapshot& snapshot, const PathIndices& indices);
Value inputInRange(const Snapshot& snapshot, const PathIndices& indices);
Value outputSupply(const Snapshot& snapshot, const PathIndices& indices);
Value outputSwitchedOn(const Snapshot& snapshot, const PathIndices& indices);
Value delayBeforeSwitchOn(const Snapshot& snapshot, const PathIndices& indices);
Value outletSupply(const Snapshot& snapshot, const PathIndices& indices);
Value inverterSupply(const Snapshot& snapshot, const PathIndices& indices);
Value regulatorSupply(const Snapshot& snapshot, const PathIndices& indices);

Value bankSupply(const Snapshot& snapshot, const PathIndices& indices);
Value storagePresence(const Snapshot& snapshot, const PathIndices& indices);
Value managementFailure(const Snapshot& snapshot, const PathIndices& indices);
Value moduleSupply(const Snapshot& snapshot, const PathIndices& indices);
Value stateOfCharge(const Snapshot& snapshot, const PathIndices& indices);
Value installationDate(const Snapshot& snapshot, const PathIndices& indices);
Value chargerStatus(const Snapshot& snapshot, const PathIndices& indices);
Value chargerSupply(const Snapshot& snapshot, const PathIndices& indices);
Value testStatus(const Snapshot& snapshot, const PathIndices& indices);
Value batteryNeedsService(const Snapshot& snapshot, const PathIndices& indices);
Value storageType(const Snapshot& snapshot, const PathIndices& indices);

} // namespace velk::nut
