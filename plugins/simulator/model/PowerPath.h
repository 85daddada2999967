#pragma once

#include "platform/common/UnixTime.h"
#include "plugins/simulator/model/Plant.h"
#include "powerdistribution/core/ValueEnums.h"

#include <string>

namespace velk::simulator {

using powerdistribution::Mode;

/// How power gets from the inputs to the outputs: the kind of the device.
///
/// A step asks first for the feed (`choose`) and, once it is known what the load draws from it, for where
/// that power comes from (`settle`).
class PowerPath {
public:
    virtual ~PowerPath() = default;

    /// Lets it take its settings from the table.
    virtual void attach(const PointTable& points) = 0;

    /// What `demand` is fed with in this step.
    virtual Feed choose(const PhasePowers& demand, double seconds, conv::UnixTime now) = 0;

    /// Takes `drawn` and the losses from the sources, charges or discharges, and enters the balance.
    virtual void settle(const PhasePowers& drawn, double seconds) = 0;

    virtual Mode mode() const = 0;

    /// What the switches of outputs and outlets go by.
    virtual Switch::Surroundings surroundings() const = 0;

protected:
    PowerPath() = default;
    PowerPath(const PowerPath&) = delete;
    PowerPath& operator=(const PowerPath&) = delete;
};

} // namespace velk::simulator
