#pragma once

#include "plugins/simulator/model/NodePoints.h"
#include "plugins/simulator/model/OnlineUps.h"
#include "plugins/simulator/model/Plant.h"
#include "plugins/simulator/model/PowerPath.h"
#include "plugins/simulator/model/TransferSwitch.h"

namespace velk::simulator {

// Each of these gives the table the points of one part. The part outlives the table's last read.

/// Measures, nameplate and phases of a circuit, and the statuses that follow its limits.
void publishCircuit(const NodePoints& node, const Circuit& circuit, conv::UnixTime start);

/// Of a circuit whose energy is not metered.
void publishFlow(const NodePoints& node, const Circuit& circuit);
void publishPhases(const NodePoints& node, const Circuit& circuit);

void publishInput(const NodePoints& node, const Input& input);
void publishOutput(const NodePoints& node, Output& output);
void publishOutlet(const NodePoints& node, Outlet& outlet);
void publishBranch(const NodePoints& node, Branch& branch);
void publishConverter(const NodePoints& node, const Converter& converter);

/// `BackupSystem` and what is below it.
void publishBackup(const NodePoints& node, Plant& plant, const Ups& ups, const BatteryDescription& nameplate,
                   const std::function<conv::UnixTime()>& clock);

/// The bypasses' switches.
void publishBypasses(const NodePoints& converters, OnlineUps& ups);

/// Which input feeds the load.
void publishSource(const NodePoints& root, const TransferSwitch& transfer);

/// `PowerModules`: redundancy and temperature.
void publishModules(const NodePoints& node, const Plant& plant, const ModuleDescription& modules,
                    const ThermalMass& heat);

/// `Environment`: the statuses that follow the temperature, where the file gives it one.
void publishEnvironment(const NodePoints& node);

} // namespace velk::simulator
