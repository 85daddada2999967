#pragma once

#include "plugins/simulator/Points.h"

#include <vector>

namespace velk::simulator {

/// All tables as one forest. Grown on the first call; a static table would be filled while the plug-in is
/// loaded, when objects of other files may not be there yet.
const std::vector<Rule>& deviceRules();

// One function an area of the device, in the order in which they are tried.

void addDeviceRows(Rows& rows);
void addInputRows(Rows& rows);
void addOutputRows(Rows& rows);
void addOutletRows(Rows& rows);
void addConverterRows(Rows& rows);
void addModuleRows(Rows& rows);
void addStorageRows(Rows& rows);
void addEnvironmentRows(Rows& rows);
void addLogRows(Rows& rows);

// What circuits of all kinds have in common; `circuit` may hold a range.

/// Voltages, currents, powers, energies, their limits and their states.
void addCircuitRows(Rows& rows, const EPath& circuit);
/// The phases below `circuit`, and how many there are.
void addPhaseRows(Rows& rows, const EPath& circuit);
/// What can be switched on and off, at once or with a delay.
void addSwitchRows(Rows& rows, const EPath& circuit);

} // namespace velk::simulator
