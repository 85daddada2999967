#pragma once

#include "platform/common/UnixTime.h"
#include "plugins/simulator/model/EnergyCounter.h"

#include <chrono>

namespace velk::simulator {

/// The device's clock. It moves by the steps alone, and can be set.
class SimulatedClock {
public:
    explicit SimulatedClock(conv::UnixTime start) : begin{start} {}

    /// The periods that begin on the way.
    PeriodStarts advance(std::chrono::milliseconds elapsed);

    conv::UnixTime now() const;

    /// Seconds since the start.
    double seconds() const { return std::chrono::duration<double>(gone).count(); }

    /// What the device shows as its date from here on; the time above goes on as it was.
    void setShown(conv::UnixTime date);
    conv::UnixTime shown() const;

private:
    conv::UnixTime begin;
    std::chrono::milliseconds gone{0};
    std::int64_t shift{0}; ///< of the shown date, in s
};

} // namespace velk::simulator
