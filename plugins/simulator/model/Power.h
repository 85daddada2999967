#pragma once

#include <cmath>

namespace velk::simulator {

/// Active and reactive power, in W and var. Powers add up by their parts; apparent power follows from the
/// sums.
struct Power {
    double active{0};
    double reactive{0};

    double apparent() const { return std::hypot(active, reactive); }

    /// 1 where nothing flows.
    double factor() const { return apparent() > 0 ? active / apparent() : 1; }

    Power& operator+=(const Power& other) {
        active += other.active;
        reactive += other.reactive;
        return *this;
    }
    friend Power operator+(Power a, const Power& b) { return a += b; }
    friend Power operator*(const Power& power, double share) {
        return {power.active * share, power.reactive * share};
    }

    /// Of a load that draws `watts` at a lagging power factor above 0.
    static Power of(double watts, double powerFactor) {
        return {watts, watts * std::sqrt(1 - powerFactor * powerFactor) / powerFactor};
    }
};

} // namespace velk::simulator
