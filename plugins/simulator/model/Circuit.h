#pragma once

#include "plugins/simulator/model/DeviceDescription.h"
#include "plugins/simulator/model/EnergyCounter.h"
#include "plugins/simulator/model/Power.h"

#include <array>
#include <cstdint>

namespace velk::simulator {

constexpr std::uint32_t MOST_PHASES = 3;

/// Voltage between phase and neutral in V, and the power that flows.
struct PhaseFlow {
    double voltage{0};
    Power power;

    double current() const { return voltage > 0 ? power.apparent() / voltage : 0; }
};

/// What flows through one place of the device: an input, an output, a branch, an outlet, a converter.
class Circuit {
public:
    Circuit(const Rating& rated, std::uint32_t phases);

    std::uint32_t phases() const { return count; }
    const Rating& rating() const { return rated; }

    /// Phases are numbered from 0.
    const PhaseFlow& phase(std::uint32_t index) const { return flows[index]; }
    void carry(std::uint32_t index, double voltage, const Power& power) { flows[index] = {voltage, power}; }
    void setFrequency(double hertz) { frequencyNow = hertz; }

    /// 0 where there is no voltage.
    double frequency() const { return voltage() > 0 ? frequencyNow : 0; }

    /// The sum of the phases.
    Power power() const;

    /// The mean of the phases.
    double voltage() const;

    /// Apparent power over voltage and number of phases, so that the three agree.
    double current() const;

    /// Between this phase and the next one, 120 degrees apart.
    double lineVoltage(std::uint32_t index) const;
    double neutralCurrent() const;

    /// Apparent power as a share of the rated one, in percent; of a phase: of its part.
    double percentLoad() const;
    double percentLoad(std::uint32_t index) const;
    double highestPhaseCurrent() const;

    EnergyCounter energy;

private:
    Rating rated;
    std::uint32_t count;
    double frequencyNow{0};
    std::array<PhaseFlow, MOST_PHASES> flows{};
};

} // namespace velk::simulator
