#pragma once

#include "plugins/simulator/model/Circuit.h"

#include <algorithm>
#include <cstdint>

namespace velk::simulator {

/// A branch of a PDU behind a thermal breaker.
class Branch {
public:
    explicit Branch(const BranchDescription& description) :
        circuit{description.rating, 1}, phase{description.phase - 1} {}

    bool isClosed() const { return closed && present; }
    bool isTripped() const { return tripped; }

    void open() { closed = false; }
    void close() {
        closed = true;
        tripped = false;
        heat = 0;
    }

    /// Heats the breaker by the current of this step. It holds its rated current for ever, twice that for 20
    /// s.
    void step(double seconds) {
        const double share = circuit.rating().current > 0 ? circuit.current() / circuit.rating().current : 0;
        heat = std::max(0.0, heat + (share * share - LASTING) * seconds);
        if (heat >= TRIP_HEAT) {
            tripped = true;
            closed = false;
        }
    }

    Circuit circuit;
    const std::uint32_t phase; ///< from 0
    bool present{true};

private:
    static constexpr double LASTING = 1.1 * 1.1; ///< square of the current that never trips it
    static constexpr double TRIP_HEAT = 20 * (2.0 * 2.0 - LASTING); ///< of twice the rated current for 20 s

    bool closed{true};
    bool tripped{false};
    double heat{0};
};

} // namespace velk::simulator
