// Where the power comes from.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::simulator {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::oneTo;

void addInputRows(Rows& rows) {
    const EPath inputs{ECircuit::Inputs};
    const EPath input = inputs + oneTo(128);
    // clang-format off
    const Rows table{
        // The library makes as many inputs as this says.
        {inputs + EAttribute::Count,           remembered},
        {input + ESetting::FrequencyDeviationLimit, setting},
        {input + ESetting::PhaseDeviationLimit,     setting},
        {input + ESetting::WiringFaultEnabled,      setting},
        {input + ESetting::SensitivityMode,         setting},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
    addCircuitRows(rows, input);
    addPhaseRows(rows, input);
}

} // namespace velk::simulator
