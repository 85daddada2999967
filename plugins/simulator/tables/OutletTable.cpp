// What loads are plugged into.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::simulator {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EPath;
using powerdistribution::ESpecification;
using powerdistribution::oneTo;

void addOutletRows(Rows& rows) {
    const EPath outlets{ECircuit::Outlets};
    const EPath outlet = outlets + oneTo(128);
    // clang-format off
    const Rows table{
        {outlets + EAttribute::Count,               remembered},
        {outlet + ESpecification::Switchable,         own},
        {outlet + ESpecification::PowerCycleDuration, own},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
    addCircuitRows(rows, outlet);
    addSwitchRows(rows, outlet);
    addPhaseRows(rows, outlet);
}

} // namespace velk::simulator
