#include "plugins/nut/Codecs.h"
#include "plugins/nut/Derived.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/Points.h"
#include "plugins/nut/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::nut {

using powerdistribution::EAction;
using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::oneTo;

namespace {

const EPath output{ECircuit::Outputs, 1U};
const EPath phase{ECircuit::Outputs, 1U, ECircuit::Phases, oneTo(3)};

// clang-format off
void addStates(Rows& rows) {
    const Rows table{
        {output + EStatus::Supply,               onlyWith(hasOutput, computed(outputSupply))},
        {output + EStatus::SwitchedOn,           onlyWith(hasOutput, computed(outputSwitchedOn, {"ups.status"}))},
        {output + EStatus::Overload,             onlyWith(hasOutput, computed(statusWord("OVER"), {"ups.status"}))},
        {output + EStatus::DelayBeforeSwitchOff, variable({"ups.timer.shutdown"}, decodeDelay)},
        {output + EStatus::DelayBeforeSwitchOn,  computed(delayBeforeSwitchOn, {"ups.timer.start", "ups.timer.restart", "ups.timer.reboot"})},
        {output + EAttribute::PhysicalName,      identity({"outlet.desc"}, decodeText)},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

// The device's own words for its output, and those of a distribution unit for the sum of its outlets.
void addMeasures(Rows& rows) {
    const Rows table{
        {output + EMeasurement::PercentLoad,   variable({"ups.load", "ups.output.percentload", "output.power.percent"}, decodePercent)},
        {output + EMeasurement::ApparentPower, variable({"ups.power", "output.power", "outlet.power"}, decodeNumber)},
        {output + EMeasurement::ActivePower,   variable({"ups.realpower", "output.realpower", "outlet.realpower"}, decodeNumber)},
        {output + EMeasurement::Efficiency,    variable({"ups.efficiency"}, decodeCharge)},
        {output + EMeasurement::NeutralCurrent, variable({"output.N.current"}, decodeNumber)},
    };
    rows.insert(rows.end(), table.begin(), table.end());
    addCircuitRows(rows, output, {"output.", "ups.output.", "outlet."});
}

void addSpecificationsAndSettings(Rows& rows) {
    const Rows table{
        {output + ESpecification::ApparentPowerNominal,
            variable({"ups.power.nominal", "output.power.nominal", "ups.upspower.nominal"}, decodeRatio)},
        {output + ESpecification::ActivePowerNominal,
            variable({"ups.realpower.nominal", "output.realpower.nominal"}, decodeRatio)},
        {output + ESpecification::VoltageNominal,                  variable({"ups.voltage.nominal"}, decodeRatio)},
        {output + ESpecification::PercentLoadHighWarningThreshold, variable({"ups.load.high"}, decodePercent)},
        {output + ESpecification::Switchable,                      variable({"outlet.switchable"}, decodeBool)},
        {output + ESetting::AutomaticSwitchOffDelay,               setting({"ups.delay.shutdown"}, delay())},
        {output + ESetting::AutomaticSwitchOnDelay,                setting({"ups.delay.start", "ups.delay.restart"}, delay())},
        {output + ESetting::ForcedRebootDuration,                  setting({"ups.delay.reboot"}, delay())},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addActions(Rows& rows) {
    using Delay = ActionStep::Delay;
    const Rows table{
        {output + EAction::SwitchOff, action({{"load.off", Delay::None, {}},
                                              {"load.off.delay", Delay::Asked, {}},
                                              {"shutdown.stayoff", Delay::Device, {}}})},
        {output + EAction::SwitchOn, action({{"load.on", Delay::None, {}},
                                             {"load.on.delay", Delay::Asked, {}}})},
        {output + EAction::SwitchOffWithAutoRestart, action({{"shutdown.return", Delay::Device, {}},
                                                             {"shutdown.reboot", Delay::Device, {}},
                                                             {"shutdown.reboot.graceful", Delay::Device, {}}})},
        {output + EAction::CancelSwitchOff,                action({{"shutdown.stop", Delay::None, {}}})},
        {output + EAction::CancelSwitchOffWithAutoRestart, action({{"shutdown.stop", Delay::None, {}}})},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addPhases(Rows& rows) {
    const Rows table{
        {EPath{ECircuit::Outputs, 1U, ECircuit::Phases, EAttribute::Count}, structure(countedPhases("output."))},
        {phase + EMeasurement::PercentLoad,   variable({"output.L%.power.percent", "ups.L%.load"}, decodePercent)},
        {phase + EMeasurement::ApparentPower, variable({"ups.L%.power"}, decodeNumber)},
        {phase + EMeasurement::ActivePower,   variable({"ups.L%.realpower", "ups.L%-N.realpower"}, decodeNumber)},
        {phase + EMeasurement::VoltageLL,     variable({"output.L%-L&.voltage"}, decodeNumber)},
    };
    rows.insert(rows.end(), table.begin(), table.end());
    addCircuitRows(rows, phase, {"output.L%-N.", "output.L%."});
}
// clang-format on

} // namespace

void addOutputRows(Rows& rows) {
    rows.push_back({{ECircuit::Outputs, EAttribute::Count}, structure(counted(outputCount))});
    addStates(rows);
    addMeasures(rows);
    addSpecificationsAndSettings(rows);
    addActions(rows);
    addPhases(rows);
}

} // namespace velk::nut
