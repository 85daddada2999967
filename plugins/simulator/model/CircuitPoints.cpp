#include "plugins/simulator/model/Publishing.h"

#include <algorithm>
#include <cmath>

namespace velk::simulator {

double rounded(double value, double resolution) {
    return std::round(value / resolution) * resolution;
}

namespace {

constexpr double WATT_HOUR = 1; ///< resolution of the meters

double left(double rated, double used) {
    return std::max(0.0, rated - used);
}

double reactiveRated(const Rating& rating) {
    return std::sqrt(
        std::max(0.0, rating.apparentPower * rating.apparentPower - rating.activePower * rating.activePower));
}

void publishNameplate(const NodePoints& node, const Circuit& circuit) {
    const Rating rating = circuit.rating();
    node.show("Specification.Voltage.Nominal", [rating] { return rating.voltage; });
    node.show("Specification.Current.Nominal", [rating] { return rating.current; });
    if (circuit.phases() == MOST_PHASES) {
        node.show("Specification.VoltageLL.Nominal", [rating] { return rating.voltage * std::sqrt(3.0); });
    }
    if (rating.apparentPower > 0) {
        node.show("Specification.ApparentPower.Nominal", [rating] { return rating.apparentPower; });
        node.show("Specification.ActivePower.Nominal", [rating] { return rating.activePower; });
    }
}

void publishEnergy(const NodePoints& node, const EnergyCounter& meter, conv::UnixTime start) {
    node.show("Measure.CumulatedEnergy", [&meter] { return rounded(meter.total(), WATT_HOUR); });
    node.show("Measure.TotalCumulatedEnergy", [&meter] { return rounded(meter.total(), WATT_HOUR); });
    node.show("Measure.PartialCumulatedEnergy", [&meter] { return rounded(meter.total(), WATT_HOUR); });
    node.show("Measure.PartialCumulatedEnergyStartDate", [start] { return start; });
    node.show("Measure.AverageEnergy", [&meter] { return rounded(meter.average(), WATT_HOUR); });
    node.show("Measure.EnergyDaily", [&meter] { return rounded(meter.today(), WATT_HOUR); });
    node.show("Measure.EnergyMonthly", [&meter] { return rounded(meter.thisMonth(), WATT_HOUR); });
    node.show("Measure.EnergyYearly", [&meter] { return rounded(meter.thisYear(), WATT_HOUR); });
}

/// The statuses that follow the limits of current and load.
void publishLimits(const NodePoints& node, const Circuit& circuit) {
    const auto warning = node.knob<float>("Setting.Current.HighWarningThreshold", 0);
    const auto critical = node.knob<float>("Setting.Current.HighCriticalThreshold", 0);
    if (warning.exists()) {
        node.show("Status.CurrentTooHigh",
                  [&circuit, warning] { return circuit.highestPhaseCurrent() > warning.get(); });
    }
    if (critical.exists()) {
        node.show("Status.OverCurrent",
                  [&circuit, critical] { return circuit.highestPhaseCurrent() > critical.get(); });
    }
    const auto high = node.knob<float>("Specification.PercentLoad.HighWarningThreshold", 0);
    if (high.exists()) {
        node.show("Status.PreOverload", [&circuit, high] { return circuit.percentLoad() > high.get(); });
    }
    if (circuit.phases() == MOST_PHASES) {
        node.show("Status.Unbalanced", [&circuit] {
            const auto [least, most] = std::minmax(
                {circuit.phase(0).current(), circuit.phase(1).current(), circuit.phase(2).current()});
            return most - least > 0.5 * circuit.rating().current;
        });
    }
}

void publishPhase(const NodePoints& node, const Circuit& circuit, std::uint32_t index) {
    const auto flow = [&circuit, index]() -> const PhaseFlow& { return circuit.phase(index); };
    const Rating rating = circuit.rating();
    const double share = 1.0 / circuit.phases();
    node.show("Measure.Voltage", [flow] { return flow().voltage; });
    node.show("Measure.VoltageLL", [&circuit, index] { return circuit.lineVoltage(index); });
    node.show("Measure.Current", [flow] { return flow().current(); });
    node.show("Measure.ActivePower", [flow] { return flow().power.active; });
    node.show("Measure.ApparentPower", [flow] { return flow().power.apparent(); });
    node.show("Measure.ReactivePower", [flow] { return flow().power.reactive; });
    node.show("Measure.PowerFactor", [flow] { return flow().power.factor(); });
    node.show("Measure.Phase", [index] { return 120.0 * index; });
    node.show("Measure.CurrentAvailable", [flow, rating] { return left(rating.current, flow().current()); });
    node.show("Specification.Voltage.Nominal", [rating] { return rating.voltage; });
    node.show("Specification.Current.Nominal", [rating] { return rating.current; });
    if (rating.apparentPower > 0) {
        node.show("Measure.PercentLoad", [&circuit, index] { return circuit.percentLoad(index); });
        node.show("Specification.ApparentPower.Nominal",
                  [rating, share] { return rating.apparentPower * share; });
    }
    const auto warning = node.knob<float>("Setting.Current.HighWarningThreshold", 0);
    if (warning.exists()) {
        node.show("Status.CurrentTooHigh", [flow, warning] { return flow().current() > warning.get(); });
    }
}

} // namespace

void publishFlow(const NodePoints& node, const Circuit& circuit) {
    const Rating rating = circuit.rating();
    node.show("Measure.Voltage", [&circuit] { return circuit.voltage(); });
    node.show("Measure.Current", [&circuit] { return circuit.current(); });
    node.show("Measure.ActivePower", [&circuit] { return circuit.power().active; });
    node.show("Measure.ApparentPower", [&circuit] { return circuit.power().apparent(); });
    node.show("Measure.ReactivePower", [&circuit] { return circuit.power().reactive; });
    node.show("Measure.PowerFactor", [&circuit] { return circuit.power().factor(); });
    node.show("Measure.Frequency", [&circuit] { return circuit.frequency(); });
    node.show("Measure.CurrentAvailable",
              [&circuit, rating] { return left(rating.current, circuit.highestPhaseCurrent()); });
    if (rating.apparentPower > 0) {
        node.show("Measure.PercentLoad", [&circuit] { return circuit.percentLoad(); });
        node.show("Measure.ApparentPowerAvailable",
                  [&circuit, rating] { return left(rating.apparentPower, circuit.power().apparent()); });
        node.show("Measure.ActivePowerAvailable",
                  [&circuit, rating] { return left(rating.activePower, circuit.power().active); });
        node.show("Measure.ReactivePowerAvailable",
                  [&circuit, rating] { return left(reactiveRated(rating), circuit.power().reactive); });
    }
}

void publishCircuit(const NodePoints& node, const Circuit& circuit, conv::UnixTime start) {
    publishFlow(node, circuit);
    publishNameplate(node, circuit);
    publishEnergy(node, circuit.energy, start);
    publishLimits(node, circuit);
    publishPhases(node, circuit);
}

void publishPhases(const NodePoints& node, const Circuit& circuit) {
    if (circuit.phases() != MOST_PHASES) {
        return;
    }
    node.show("Measure.NeutralCurrent", [&circuit] { return circuit.neutralCurrent(); });
    const NodePoints phases = node.below("Phases");
    const std::uint32_t count = circuit.phases();
    phases.show("Attribute.Count", [count] { return count; });
    for (std::uint32_t index = 0; index < count; ++index) {
        publishPhase(phases.item(index + 1), circuit, index);
    }
}

} // namespace velk::simulator
