#pragma once

#include "plugins/simulator/model/Battery.h"
#include "powerdistribution/core/ValueEnums.h"

namespace velk::simulator {

/// All chargers of the device together: constant power up to 90 % of the charge, then less and less, then the
/// battery floats, then it rests until it has lost some charge.
class Charger {
public:
    using Status = powerdistribution::ChargerStatus;

    explicit Charger(double watts) : most{watts} {}

    /// Share of the power taken that reaches the battery.
    static constexpr double EFFICIENCY = 0.92;

    /// What it puts into `battery` in a step, in W; 0 where there is nothing to charge.
    double wanted(const Battery& battery, double seconds) const;

    /// Follows a step in which it had power (`supplied`) and stored `watts`.
    void follow(const Battery& battery, bool supplied, double watts, double seconds);

    Status status() const { return now; }
    double rated() const { return most; }
    void setShare(double part) { share = part; } ///< of the chargers that are there

private:
    double most;
    double share{1};
    Status now{Status::Floating};
    double floating{0};
};

} // namespace velk::simulator
