#include "plugins/simulator/model/Input.h"

#include "plugins/simulator/model/MemberTypes.h"

namespace velk::simulator {

namespace {

constexpr double SAG = 0.8;
constexpr double SWELL = 1.2;

double shareOf(MainsState state) {
    switch (state) {
    case MainsState::Lost:
        return 0;
    case MainsState::Sag:
        return SAG;
    case MainsState::Swell:
        return SWELL;
    case MainsState::Normal:
        break;
    }
    return 1;
}

/// The setting, or the rated value of the same name, or the fallback.
Knob<float> limitOf(const PointTable& points, const std::string& node, const std::string& name,
                    double fallback) {
    const auto setting = points.knob<float>(joinPath(node, "Setting." + name), 0);
    return setting.exists()
               ? setting
               : points.knob<float>(joinPath(node, "Specification." + name), static_cast<float>(fallback));
}

} // namespace

Input::Input(const InputDescription& description) :
    circuit{description.rating, description.phases},
    nominalHertz{description.frequency},
    frequency{description.frequency} {
    offered.fill(description.rating.voltage);
}

void Input::attach(const PointTable& points, const std::string& node) {
    const double volts = circuit.rating().voltage;
    limits = {limitOf(points, node, "Voltage.LowCriticalThreshold", volts * 0.85),
              limitOf(points, node, "Voltage.HighCriticalThreshold", volts * 1.15),
              limitOf(points, node, "Frequency.LowCriticalThreshold", nominalHertz * 0.9),
              limitOf(points, node, "Frequency.HighCriticalThreshold", nominalHertz * 1.1),
              points.knob<float>(joinPath(node, "Specification.Voltage.HysteresisDetection"), 0)};
}

void Input::setState(std::uint32_t phase, MainsState state) {
    offered[phase] = circuit.rating().voltage * shareOf(state);
    if (state == MainsState::Normal) {
        frequency = nominalHertz;
    }
}

void Input::step(double seconds, double returnSeconds, double ripple) {
    rippleNow = ripple;
    circuit.setFrequency(frequency);
    goodFor = isInRange() ? goodFor + seconds : 0;
    accepted = isInRange() && (accepted || goodFor >= returnSeconds);
}

template <typename Condition>
bool Input::anyVoltage(const Condition& condition) const {
    for (std::uint32_t phase = 0; phase < circuit.phases(); ++phase) {
        if (condition(voltage(phase))) {
            return true;
        }
    }
    return false;
}

bool Input::isLive() const {
    const double least = circuit.rating().voltage / 2;
    return !anyVoltage([least](double volts) { return volts < least; });
}

bool Input::isVoltageTooLow() const {
    const double least = limits.voltageLow.get() + (accepted ? 0 : limits.hysteresis.get());
    return anyVoltage([least](double volts) { return volts < least; });
}

bool Input::isVoltageTooHigh() const {
    const double most = limits.voltageHigh.get() - (accepted ? 0 : limits.hysteresis.get());
    return anyVoltage([most](double volts) { return volts > most; });
}

bool Input::isFrequencyOutOfRange() const {
    return frequency < limits.frequencyLow.get() || frequency > limits.frequencyHigh.get();
}

} // namespace velk::simulator
