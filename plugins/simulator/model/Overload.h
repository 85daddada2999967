#pragma once

#include <algorithm>

namespace velk::simulator {

/// The heat of an overloaded converter: it carries 102 % for ever and 125 % for a minute, and needs the load
/// to fall and some time to cool before it carries again.
class Overload {
public:
    /// `load` as a share of the rated power.
    void step(double load, double seconds) {
        heat = std::clamp(heat + (load - LASTING) * seconds, 0.0, TRIP);
        tripped = heat >= TRIP || (tripped && heat > 0);
    }

    bool isTripped() const { return tripped; }
    void reset() {
        heat = 0;
        tripped = false;
    }

private:
    static constexpr double LASTING = 1.02;
    static constexpr double TRIP = (1.25 - LASTING) * 60;

    double heat{0};
    bool tripped{false};
};

} // namespace velk::simulator
