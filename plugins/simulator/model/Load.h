#pragma once

#include "plugins/simulator/model/Power.h"

#include <algorithm>

namespace velk::simulator {

/// What hangs on an outlet or on the terminals of a phase: a constant power.
class Load {
public:
    Load() = default;
    Load(double watts, double factor) : active{watts}, powerFactor{factor} {}

    void setWatts(double watts) { active = watts; }
    double watts() const { return active; }

    /// What it draws when it has voltage. `ripple` is the share by which it differs in this step.
    Power power(double ripple) const { return Power::of(active * (1 + ripple), powerFactor); }

private:
    double active{0};
    double powerFactor{1};
};

} // namespace velk::simulator
