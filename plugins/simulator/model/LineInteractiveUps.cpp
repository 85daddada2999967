#include "plugins/simulator/model/LineInteractiveUps.h"

namespace velk::simulator {

void LineInteractiveUps::attach(const PointTable& points) {
    Ups::attach(points);
    const auto nominal = static_cast<float>(plant.inputs.front().circuit.rating().voltage);
    lowDetection = points.knob<float>("Inputs.1.Setting.VoltageLowDetection", nominal * 0.92F);
    highDetection = points.knob<float>("Inputs.1.Setting.VoltageHighDetection", nominal * 1.08F);
    nominalVoltage = points.knob<float>("Outputs.1.Setting.NominalVoltage", nominal);
    inverterFailure = points.knob<bool>("PowerConverters.Inverter.Status.InternalFailure", false);
}

Mode LineInteractiveUps::mainsMode() const {
    const double volts = plant.inputs.front().voltage(0);
    if (volts < lowDetection.get()) {
        return Mode::OnBoost;
    }
    return volts > highDetection.get() ? Mode::OnBuck : Mode::OnLineInteractiveNormal;
}

Feed LineInteractiveUps::feedOf(Mode mode) const {
    const Input& mains = plant.inputs.front();
    switch (mode) {
    case Mode::Off:
        return {};
    case Mode::OnBattery:
        return {{nominalVoltage.get()}, mains.nominalFrequency()};
    case Mode::OnBoost:
        return {{mains.voltage(0) * BOOST}, mains.hertz()};
    case Mode::OnBuck:
        return {{mains.voltage(0) * BUCK}, mains.hertz()};
    default:
        return {{mains.voltage(0)}, mains.hertz()};
    }
}

double LineInteractiveUps::lossesOf(Mode mode, double output) const {
    switch (mode) {
    case Mode::Off:
        return areMainsGood() ? losses.standby / 2 : 0;
    case Mode::OnBattery:
        return conversionLosses(output);
    case Mode::OnBoost:
    case Mode::OnBuck:
        return losses.standby + 2 * output * losses.bypass;
    default:
        return losses.standby + output * losses.bypass;
    }
}

void LineInteractiveUps::draw(Mode mode, const PhasePowers& drawn, double lost, double charging) {
    const bool active = mode != Mode::OnBattery;
    plant.inputs.front().draw(0, active ? drawn[0] + Power{lost + charging, 0} : Power{});
}

void LineInteractiveUps::followConverters(Mode mode, double lost) {
    const Circuit& output = plant.outputs.front().circuit;
    const double given = output.power().active;
    const bool inverts = mode == Mode::OnBattery;
    const bool regulates = mode != Mode::Off && !inverts;
    followStage("Avr", plant.inputs.front().isLive(), regulates ? &output : nullptr, given + lost);
    followStage("Inverter", inverts, inverts ? &output : nullptr, given + lost);
}

} // namespace velk::simulator
