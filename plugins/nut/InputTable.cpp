#include "plugins/nut/Codecs.h"
#include "plugins/nut/Derived.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/Points.h"
#include "plugins/nut/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::nut {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::oneTo;

namespace {

const EPath first{ECircuit::Inputs, 1U};
const EPath second{ECircuit::Inputs, 2U};
const EPath others{ECircuit::Inputs, velk::common::TRange<unsigned int>{3, MOST_CIRCUITS}};
const EPath phase{ECircuit::Phases, oneTo(3)};

void addPhases(Rows& rows, const EPath& input, const std::string& prefix) {
    rows.push_back({input + ECircuit::Phases + EAttribute::Count, structure(countedPhases(prefix))});
    addCircuitRows(rows, input + phase, {prefix + "L%-N.", prefix + "L%."});
    rows.push_back(
        {input + phase + EMeasurement::VoltageLL, variable({prefix + "L%-L&.voltage"}, decodeNumber)});
}

} // namespace

void addInputRows(Rows& rows) {
    rows.push_back({{ECircuit::Inputs, EAttribute::Count}, structure(counted(inputCount))});

    addCircuitRows(rows, first, {"input.1.", "input.", "ups.input."});
    // clang-format off
    const Rows ofFirst{
        {first + EStatus::Supplied,                          computed(inputSupplied)},
        {first + EStatus::InRange,                           computed(inputInRange, {"ups.status", "input.voltage.status", "input.1.voltage.status"})},
        {first + EMeasurement::NeutralCurrent,               variable({"input.N.current"}, decodeNumber)},
        {first + EMeasurement::Phase,                        variable({"input.phase.shift"}, decodeNumber)},
        {first + ESpecification::Feed,                       variable({"input.feed.desc", "input.feed.color"}, decodeText)},
        {first + ESpecification::VoltageLowCriticalThreshold,  fixedLimit("input.transfer.low", decodeRatio)},
        {first + ESpecification::VoltageHighCriticalThreshold, fixedLimit("input.transfer.high", decodeRatio)},
        {first + ESetting::VoltageLowCriticalThreshold,      changeableSetting("input.transfer.low", number())},
        {first + ESetting::VoltageHighCriticalThreshold,     changeableSetting("input.transfer.high", number())},
        {first + ESetting::FrequencyLowCriticalThreshold,    setting({"input.frequency.low"}, number())},
        {first + ESetting::FrequencyHighCriticalThreshold,   setting({"input.frequency.high"}, number())},
    };
    // clang-format on
    rows.insert(rows.end(), ofFirst.begin(), ofFirst.end());
    addPhases(rows, first, "input.");

    addCircuitRows(rows, second, {"input.2.", "input.bypass."});
    // clang-format off
    const Rows ofSecond{
        {second + EStatus::Supplied,                         item(inputCount, computed(inputSupplied))},
        {second + EStatus::InRange,                          computed(inputInRange, {"input.2.voltage.status", "input.bypass.voltage.status"})},
        {second + EMeasurement::NeutralCurrent,              variable({"input.bypass.N.current"}, decodeNumber)},
        {second + ESetting::VoltageLowCriticalThreshold,     setting({"input.transfer.bypass.low"}, number())},
        {second + ESetting::VoltageHighCriticalThreshold,    setting({"input.transfer.bypass.high"}, number())},
    };
    // clang-format on
    rows.insert(rows.end(), ofSecond.begin(), ofSecond.end());
    addPhases(rows, second, "input.bypass.");

    addCircuitRows(rows, others, {"input.#."});
    rows.push_back(
        {others + EStatus::Supplied, computed(inputSupplied, {"input.#.voltage", "input.#.voltage.status"})});
}

} // namespace velk::nut
