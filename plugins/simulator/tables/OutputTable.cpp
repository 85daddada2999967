// Where the power goes: outputs, and the branches of a distribution.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::simulator {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EPath;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::oneTo;

void addOutputRows(Rows& rows) {
    for (const ECircuit kind : {ECircuit::Outputs, ECircuit::Branches}) {
        const EPath collection{kind};
        const EPath circuit = collection + oneTo(128);
        rows.push_back({collection + EAttribute::Count, remembered});
        addCircuitRows(rows, circuit);
        addSwitchRows(rows, circuit);
        addPhaseRows(rows, circuit);
    }
    const EPath branch{ECircuit::Branches, oneTo(128)};
    rows.push_back({branch + ESpecification::Switchable, own});
    // Of a branch nobody else knows it; for inputs, outputs and outlets the library computes it.
    rows.push_back({branch + EStatus::OperatingStatus, own});
}

} // namespace velk::simulator
