#pragma once

#include "plugins/simulator/model/Circuit.h"

namespace velk::simulator {

/// One stage of the power path: what it gets and what it gives.
struct Converter {
    Circuit circuit; ///< what it gives
    bool supplied{false};
    bool supplies{false};
    bool switchedOn{true};
    double efficiency{100}; ///< in percent; of the last step in which power flowed

    /// It gives what flows through `other`.
    void give(const Circuit& other) {
        for (std::uint32_t phase = 0; phase < circuit.phases(); ++phase) {
            circuit.carry(phase, other.phase(phase).voltage, other.phase(phase).power);
        }
        circuit.setFrequency(other.frequency());
    }

    /// Enters a step. `taken` is the active power that went in.
    void follow(bool getsPower, bool givesPower, double taken) {
        supplied = getsPower;
        supplies = givesPower;
        const double given = circuit.power().active;
        if (taken > 0 && given > 0) {
            efficiency = 100 * given / taken;
        }
    }
};

} // namespace velk::simulator
