#include "plugins/nut/Codecs.h"
#include "plugins/nut/Derived.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/Points.h"
#include "plugins/nut/Tables.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::nut {

using powerdistribution::EAction;
using powerdistribution::ECircuit;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::EPowerConverter;
using powerdistribution::ESetting;
using powerdistribution::EStatus;

namespace {

const EPath bypass{ECircuit::PowerConverters, EPowerConverter::AutomaticBypass};
const EPath inverter{ECircuit::PowerConverters, EPowerConverter::Inverter};
const EPath regulator{ECircuit::PowerConverters, EPowerConverter::Avr};
const EPath transfer{ECircuit::PowerConverters, EPowerConverter::TransferSwitch};
const EPath modules{ECircuit::PowerModules};

} // namespace

void addConverterRows(Rows& rows) {
    using Delay = ActionStep::Delay;
    // clang-format off
    const Rows table{
        {{ECircuit::PowerConverters}, node(hasConverters)},

        {bypass,                      node(hasAutomaticBypass)},
        {bypass + EStatus::Supply,    onlyWith(hasAutomaticBypass, computed(statusWord("BYPASS"), {"ups.status"}))},
        {bypass + EAction::SwitchOn,  action({{"bypass.start", Delay::None, {}}})},
        {bypass + EAction::SwitchOff, action({{"bypass.stop", Delay::None, {}}})},

        {inverter,                    node(hasInverter)},
        {inverter + EStatus::Supply,  onlyWith(hasInverter, computed(inverterSupply, {"ups.status"}))},

        {regulator,                   node(hasVoltageRegulator)},
        {regulator + EStatus::Supply, onlyWith(hasVoltageRegulator, computed(regulatorSupply, {"ups.status"}))},
        {regulator + EStatus::OnBuck, onlyWith(hasVoltageRegulator, computed(statusWord("TRIM"), {"ups.status"}))},
        {regulator + EStatus::OnBoost, onlyWith(hasVoltageRegulator, computed(statusWord("BOOST"), {"ups.status"}))},
        {regulator + ESetting::VoltageLowCriticalThreshold,  setting({"input.transfer.boost.low"}, number())},
        {regulator + ESetting::VoltageLowWarningThreshold,   setting({"input.transfer.boost.high"}, number())},
        {regulator + ESetting::VoltageHighWarningThreshold,  setting({"input.transfer.trim.low"}, number())},
        {regulator + ESetting::VoltageHighCriticalThreshold, setting({"input.transfer.trim.high"}, number())},

        {transfer,                    node(isTransferSwitch)},
        {transfer + EStatus::Source,  onlyWith(isTransferSwitch, variable({"input.source"}, decodeSource))},
        {transfer + EStatus::Supply,  onlyWith(isTransferSwitch, computed(outputSupply))},

        {modules,                             node(hasPowerModules)},
        {modules + EMeasurement::Temperature, variable({"ups.temperature"}, decodeTemperature)},
        {modules + ESetting::TemperatureHighCriticalThreshold, setting({"ups.temperature.high"}, temperature())},
        {modules + ESetting::TemperatureLowCriticalThreshold,  setting({"ups.temperature.low"}, temperature())},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
    addCircuitRows(rows, bypass, {"output.bypass."});
    addCircuitRows(rows, inverter, {"output.inverter."});
}

} // namespace velk::nut
