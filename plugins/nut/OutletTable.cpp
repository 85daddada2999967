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
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::oneTo;

namespace {

const EPath outlet{ECircuit::Outlets, oneTo(MOST_CIRCUITS)};
const EPath branch{ECircuit::Branches, oneTo(MOST_CIRCUITS)};

/// What outlets and groups of outlets have alike.
void addSwitched(Rows& rows, const EPath& circuit, const std::string& prefix) {
    using Delay = ActionStep::Delay;
    // clang-format off
    const Rows table{
        {circuit + EStatus::SwitchedOn,              variable({prefix + "status"}, decodeBool)},
        {circuit + ESetting::AutomaticSwitchOnDelay, setting({prefix + "delay.start"}, delay())},
        {circuit + ESetting::AutomaticSwitchOffDelay, setting({prefix + "delay.shutdown"}, delay())},
        {circuit + ESetting::ForcedRebootDuration,   setting({prefix + "delay.reboot"}, delay())},
        {circuit + EStatus::DelayBeforeSwitchOn,     variable({prefix + "timer.start"}, decodeDelay)},
        {circuit + EStatus::DelayBeforeSwitchOff,    variable({prefix + "timer.shutdown"}, decodeDelay)},
        {circuit + EAction::SwitchOff, action({{prefix + "load.off", Delay::None, {}},
                                               {prefix + "load.off.delay", Delay::Asked, {}},
                                               {prefix + "switch", Delay::None, "off"}})},
        {circuit + EAction::SwitchOn,  action({{prefix + "load.on", Delay::None, {}},
                                               {prefix + "load.on.delay", Delay::Asked, {}},
                                               {prefix + "switch", Delay::None, "on"}})},
        {circuit + EAction::SwitchOffWithAutoRestart, action({{prefix + "load.cycle", Delay::None, {}},
                                                              {prefix + "shutdown.return", Delay::Device, {}}})},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
    addCircuitRows(rows, circuit, {prefix});
}

} // namespace

void addOutletRows(Rows& rows) {
    // clang-format off
    const Rows ofOutlets{
        {{ECircuit::Outlets, EAttribute::Count},      structure(counted(outletCount))},
        {outlet + EAttribute::PhysicalName,           identity({"outlet.#.desc", "outlet.#.name"}, decodeText)},
        {outlet + EStatus::Supply,                    item(outletCount, computed(outletSupply))},
        {outlet + ESpecification::Switchable,         variable({"outlet.#.switchable"}, decodeBool)},
        {outlet + ESpecification::Feed,               variable({"outlet.#.groupid"}, decodeText)},
        {outlet + ESpecification::ConnectorType,      variable({"outlet.#.type"}, decodeText)},
        {outlet + ESetting::LowStateOfChargeThreshold,
            setting({"outlet.#.autoswitch.charge.low", "outlet.#.battery.charge.low"}, percent())},
    };
    rows.insert(rows.end(), ofOutlets.begin(), ofOutlets.end());
    addSwitched(rows, outlet, "outlet.#.");

    const Rows ofBranches{
        {{ECircuit::Branches, EAttribute::Count}, structure(counted(branchCount))},
        {branch + EAttribute::PhysicalName,       identity({"outlet.group.#.name"}, decodeText)},
        {branch + ESpecification::Feed,           variable({"outlet.group.#.phase"}, decodeText)},
    };
    // clang-format on
    rows.insert(rows.end(), ofBranches.begin(), ofBranches.end());
    addSwitched(rows, branch, "outlet.group.#.");
}

} // namespace velk::nut
