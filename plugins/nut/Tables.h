#pragma once

#include "powerdistribution/protocols/RuleTable.h"

#include <vector>

namespace velk::nut {

using Rows = std::vector<powerdistribution::protocols::RuleRow>;

// The lines of the plug-in's tables, by part of the device. Each appends to `rows`.

void addDeviceRows(Rows& rows);    ///< identification, states and settings of the device as a whole
void addInputRows(Rows& rows);     ///< Inputs with their phases
void addOutputRows(Rows& rows);    ///< Outputs with their phases
void addOutletRows(Rows& rows);    ///< Outlets and Branches
void addConverterRows(Rows& rows); ///< PowerConverters and PowerModules
void addStorageRows(Rows& rows);   ///< BackupSystem
void addEnvironmentRows(Rows& rows);

/// What every circuit may have, below `circuit`; its variables begin with one of `prefixes`, the best first.
void addCircuitRows(Rows& rows, const powerdistribution::EPath& circuit,
                    const std::vector<std::string>& prefixes);

/// All of them, grown once.
const std::vector<powerdistribution::protocols::Rule>& deviceRules();

} // namespace velk::nut
