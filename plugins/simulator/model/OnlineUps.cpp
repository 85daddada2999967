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
    constexpr double POWER_FACTOR = 0.99; // of the rectifier
    const double stored = charging / Charger::EFFICIENCY;
    const double waste = stored - charging;
    const bool direct = isThroughBypass(mode);
    const bool active = mode != Mode::OnBattery;
    // The rectifier loads its phases alike; the bypass passes on what each phase draws.
    const double converted = active ? (direct ? stored : sumOf(drawn).active + lost + charging) : 0;
    Input& mains = plant.inputs.front();
    PhasePowers atMains{};
    PhasePowers atBypass{};
    for (std::uint32_t phase = 0; phase < mains.circuit.phases(); ++phase) {
        atMains[phase] = Power::of(converted / mains.circuit.phases(), POWER_FACTOR);
    }
    for (std::uint32_t phase = 0; direct && phase < bypass().circuit.phases(); ++phase) {
        atBypass[phase] = drawn[phase] + Power{(lost - waste) / bypass().circuit.phases(), 0};
    }
    if (&mains == &bypass()) {
        for (std::uint32_t phase = 0; phase < MOST_PHASES; ++phase) {
            atMains[phase] += atBypass[phase];
        }
    }
    for (std::uint32_t phase = 0; phase < mains.circuit.phases(); ++phase) {
        mains.draw(phase, atMains[phase]);
    }
    for (std::uint32_t phase = 0; &mains != &bypass() && phase < bypass().circuit.phases(); ++phase) {
        bypass().draw(phase, atBypass[phase]);
    }
}

void OnlineUps::followConverters(Mode mode, double lost) {
    const Circuit& output = plant.outputs.front().circuit;
    const double given = output.power().active;
    const bool inverts = mode == Mode::OnLine || mode == Mode::OnBattery;
    const bool rectifies = areMainsGood() && mode != Mode::OnMaintenanceBypass && mode != Mode::OnBattery;
    const Circuit none{output.rating(), output.phases()};
    if (Converter* stage = plant.converter("Inverter"); stage != nullptr) {
        stage->give(inverts ? output : none);
        stage->switchedOn = inverts;
        stage->follow(rectifies || mode == Mode::OnBattery, inverts, inverts ? given + lost / 2 : 0);
    }
    const double stored = plant.balance.charging / Charger::EFFICIENCY;
    const double direct = inverts ? given + lost / 2 : 0;
    for (const char* name : {"Rectifier", "DcBus"}) {
        if (Converter* stage = plant.converter(name); stage != nullptr) {
            const bool isBus = stage == plant.converter("DcBus");
            const bool gives = rectifies || (isBus && mode == Mode::OnBattery);
            const double watts = gives ? direct + (isBus ? 0 : stored) : 0;
            stage->circuit.carry(0, gives ? stage->circuit.rating().voltage : 0, {watts, 0});
            stage->follow(isBus ? gives : plant.inputs.front().isLive(), gives,
                          watts + (isBus ? 0 : lost / 2));
        }
    }
    if (Converter* stage = plant.converter("AutomaticBypass"); stage != nullptr) {
        const bool gives = isThroughBypass(mode) && mode != Mode::OnMaintenanceBypass;
        stage->give(gives ? output : none);
        stage->switchedOn = gives;
        stage->follow(bypass().isLive(), gives, gives ? given + lost : 0);
    }
    if (Converter* stage = plant.converter("MaintenanceBypass"); stage != nullptr) {
        const bool gives = mode == Mode::OnMaintenanceBypass;
        stage->give(gives ? output : none);
        stage->switchedOn = maintenance;
        stage->follow(bypass().isLive(), gives, gives ? given : 0);
    }
}

} // namespace velk::simulator
