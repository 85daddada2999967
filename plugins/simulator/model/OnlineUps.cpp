#include "plugins/simulator/model/OnlineUps.h"

#include <cmath>

namespace velk::simulator {

namespace {

bool isThroughBypass(Mode mode) {
    return mode == Mode::OnAutomaticBypass || mode == Mode::OnForcedBypass ||
           mode == Mode::OnHighEfficiency || mode == Mode::OnMaintenanceBypass;
}

} // namespace

void OnlineUps::attach(const PointTable& points) {
    Ups::attach(points);
    highEfficiency = points.knob<bool>("Setting.HighEfficiencyEnabled", false);
    forcedTransfer = points.knob<bool>("Setting.ForcedTransferEnabled", false);
    frequencyConverter = points.knob<bool>("Setting.FrequencyConverterEnabled", false);
    frequencyDeviation = points.knob<float>("Setting.FrequencyDeviationLimit", 2);
    nominalVoltage = points.knob<float>("Outputs.1.Setting.NominalVoltage",
                                        static_cast<float>(plant.outputs.front().circuit.rating().voltage));
    inverterFailure = points.knob<bool>("PowerConverters.Inverter.Status.InternalFailure", false);
    rectifierFailed = points.knob<bool>("PowerConverters.Rectifier.Status.InternalFailure", false);
}

bool OnlineUps::isBypassReady() const {
    return bypassEnabled.get() && bypass().isLive() && (bypass().isAccepted() || forcedTransfer.get());
}

bool OnlineUps::forceBypass() {
    if (!isBypassReady()) {
        return false;
    }
    bypassForced = true;
    return true;
}

std::optional<Mode> OnlineUps::directMode() const {
    if (maintenance && bypass().isLive()) {
        return Mode::OnMaintenanceBypass;
    }
    if (bypassForced && isBypassReady()) {
        return Mode::OnForcedBypass;
    }
    return std::nullopt;
}

Mode OnlineUps::mainsMode() const {
    return highEfficiency.get() && isBypassReady() ? Mode::OnHighEfficiency : Mode::OnLine;
}

std::optional<Mode> OnlineUps::lastResort() const {
    return isBypassReady() ? std::optional{Mode::OnAutomaticBypass} : std::nullopt;
}

double OnlineUps::frequencyOfInverter() const {
    const double nominal = bypass().nominalFrequency();
    const double off = std::abs(bypass().hertz() - nominal);
    const bool follows =
        !frequencyConverter.get() && bypass().isLive() && off <= nominal * frequencyDeviation.get() / 100;
    return follows ? bypass().hertz() : nominal;
}

Feed OnlineUps::feedOf(Mode mode) const {
    if (mode == Mode::Off) {
        return {};
    }
    const bool direct = isThroughBypass(mode);
    Feed feed{{}, direct ? bypass().hertz() : frequencyOfInverter()};
    for (std::uint32_t phase = 0; phase < plant.outputs.front().circuit.phases(); ++phase) {
        feed.voltage[phase] = direct ? bypass().voltage(phase) : nominalVoltage.get();
    }
    return feed;
}

double OnlineUps::lossesOf(Mode mode, double output) const {
    if (mode == Mode::Off) {
        return areMainsGood() ? losses.standby / 2 : 0;
    }
    if (mode == Mode::OnMaintenanceBypass) {
        return 0;
    }
    return isThroughBypass(mode) ? losses.standby / 2 + output * losses.bypass : conversionLosses(output);
}

void OnlineUps::draw(Mode mode, const PhasePowers& drawn, double lost, double charging) {
    const double stored = charging / Charger::EFFICIENCY;
    const double converting = lost - (stored - charging);
    const bool direct = isThroughBypass(mode);
    Input& mains = plant.inputs.front();
    PhasePowers atMains = rectified(direct ? stored : sumOf(drawn).active + converting + stored);
    if (mode == Mode::OnBattery) {
        atMains = {};
    }
    PhasePowers atBypass = direct ? passedOn(drawn, converting) : PhasePowers{};
    if (&mains == &bypass()) {
        for (std::uint32_t phase = 0; phase < MOST_PHASES; ++phase) {
            atBypass[phase] += atMains[phase];
        }
    } else {
        enter(mains, atMains);
    }
    enter(bypass(), atBypass);
}

PhasePowers OnlineUps::rectified(double watts) const {
    constexpr double POWER_FACTOR = 0.99;
    const std::uint32_t phases = plant.inputs.front().circuit.phases();
    PhasePowers powers{};
    for (std::uint32_t phase = 0; phase < phases; ++phase) {
        powers[phase] = Power::of(watts / phases, POWER_FACTOR);
    }
    return powers;
}

PhasePowers OnlineUps::passedOn(const PhasePowers& drawn, double lost) const {
    const std::uint32_t phases = bypass().circuit.phases();
    PhasePowers powers{};
    for (std::uint32_t phase = 0; phase < phases; ++phase) {
        powers[phase] = drawn[phase] + Power{lost / phases, 0};
    }
    return powers;
}

void OnlineUps::enter(Input& input, const PhasePowers& powers) {
    for (std::uint32_t phase = 0; phase < input.circuit.phases(); ++phase) {
        input.draw(phase, powers[phase]);
    }
}

void OnlineUps::followConverters(Mode mode, double lost) {
    const double stored = plant.balance.charging / Charger::EFFICIENCY;
    const double converting = lost - (stored - plant.balance.charging);
    followConversion(mode, converting, stored);
    followBypasses(mode, converting);
}

void OnlineUps::followConversion(Mode mode, double lost, double stored) {
    const Circuit& output = plant.outputs.front().circuit;
    const bool fromBattery = mode == Mode::OnBattery;
    const bool inverts = mode == Mode::OnLine || fromBattery;
    const bool rectifies = areMainsGood() && mode != Mode::OnMaintenanceBypass && !fromBattery;
    // Half of the losses arise before the bus and half behind it.
    const double toInverter = inverts ? output.power().active + lost / 2 : 0;
    const double before = inverts ? lost / 2 : lost;
    followStage("Inverter", rectifies || fromBattery, inverts ? &output : nullptr, toInverter);
    if (Converter* rectifier = plant.converter("Rectifier"); rectifier != nullptr) {
        const double given = toInverter + stored;
        rectifier->circuit.carry(0, rectifies ? rectifier->circuit.rating().voltage : 0,
                                 {rectifies ? given : 0, 0});
        rectifier->follow(plant.inputs.front().isLive(), rectifies, rectifies ? given + before : 0);
    }
    if (Converter* bus = plant.converter("DcBus"); bus != nullptr) {
        const bool isLive = rectifies || fromBattery;
        bus->circuit.carry(0, isLive ? bus->circuit.rating().voltage : 0, {isLive ? toInverter : 0, 0});
        bus->follow(isLive, isLive, isLive ? toInverter : 0);
    }
}

void OnlineUps::followBypasses(Mode mode, double lost) {
    const Circuit& output = plant.outputs.front().circuit;
    const double given = output.power().active;
    const bool isLive = bypass().isLive();
    const bool byHand = mode == Mode::OnMaintenanceBypass;
    const bool byItself = isThroughBypass(mode) && !byHand;
    followStage("AutomaticBypass", isLive, byItself ? &output : nullptr, given + lost);
    followStage("MaintenanceBypass", isLive, byHand ? &output : nullptr, given);
    if (Converter* stage = plant.converter("MaintenanceBypass"); stage != nullptr) {
        stage->switchedOn = maintenance;
    }
}

} // namespace velk::simulator
