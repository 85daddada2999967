#pragma once

#include "plugins/simulator/model/Circuit.h"
#include "plugins/simulator/model/Orders.h"
#include "plugins/simulator/model/PointTable.h"

#include <array>
#include <string>

namespace velk::simulator {

/// One source of the device: what the mains offer there, whether the device accepts it, and what it draws.
class Input {
public:
    explicit Input(const InputDescription& description);

    /// Takes its limits from the settings below `node`, and the specifications where there is no such
    /// setting.
    void attach(const PointTable& points, const std::string& node);

    /// Phases are numbered from 0.
    void setState(std::uint32_t phase, MainsState state);
    void setVoltage(std::uint32_t phase, double volts) { offered[phase] = volts; }
    void setFrequency(double hertz) { frequency = hertz; }
    double nominalFrequency() const { return nominalHertz; }

    /// Decides whether the source is accepted: a bad one is dropped at once and taken back `returnSeconds`
    /// after it has become good again. `ripple` is the share by which the voltage differs in this step.
    void step(double seconds, double returnSeconds, double ripple);

    /// One that is not there offers nothing.
    void setPresent(bool value) { present = value; }

    double voltage(std::uint32_t phase) const { return present ? offered[phase] * (1 + rippleNow) : 0; }
    double hertz() const { return frequency; }

    /// Every phase carries at least half of its nominal voltage.
    bool isLive() const;

    /// Voltage and frequency are within their limits now.
    bool isInRange() const { return !isVoltageTooLow() && !isVoltageTooHigh() && !isFrequencyOutOfRange(); }

    /// In range for long enough.
    bool isAccepted() const { return accepted; }

    bool isVoltageTooLow() const;
    bool isVoltageTooHigh() const;
    bool isFrequencyOutOfRange() const;

    /// Enters what the device draws from `phase` in this step.
    void draw(std::uint32_t phase, const Power& power) { circuit.carry(phase, voltage(phase), power); }

    Circuit circuit;

private:
    template <typename Condition>
    bool anyVoltage(const Condition& condition) const;

    struct Limits {
        Knob<float> voltageLow;
        Knob<float> voltageHigh;
        Knob<float> frequencyLow;
        Knob<float> frequencyHigh;
        Knob<float> hysteresis;
    };

    double nominalHertz;
    std::array<double, MOST_PHASES> offered{};
    double frequency;
    double rippleNow{0};
    Limits limits;
    bool present{true};
    bool accepted{true};
    double goodFor{0};
};

} // namespace velk::simulator
