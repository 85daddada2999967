// The power modules of a modular device, and what keeps them in step.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::simulator {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::EStatus;

void addModuleRows(Rows& rows) {
    const EPath modules{ECircuit::PowerModules};
    const EPath synchroniser = modules + ECircuit::Synchroniser;
    // clang-format off
    const Rows table{
        {modules,                              node},
        {modules + EAttribute::Count,          remembered},
        {modules + ESetting::RedundancyLevel,  setting},
        {modules + EStatus::SyncBusLoss,       own},
        {modules + EStatus::CabinetDoorOpen,   own},
        {modules + EStatus::WatchdogFault,     own},
        {synchroniser,                         node},
        {synchroniser + EStatus::SyncBusLoss,  own},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
    addCircuitRows(rows, modules);
    addCircuitRows(rows, synchroniser);
}

} // namespace velk::simulator
