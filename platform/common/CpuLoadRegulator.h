#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Export.h"

#include <cstdint>

namespace velk::common::sched {

/// Works out how long to rest so that the CPU time used since the last rest stays within its share of the
/// wall time.
class VELK_EXPORT CpuLoadRegulator {
public:
    /// `maxLoadPercent` is clamped to 1..100.
    CpuLoadRegulator(std::uint32_t maxLoadPercent, std::uint32_t maxRestMs);

    /// Notes where the measurement starts.
    void begin(Clock::Duration wall, Clock::Duration cpu);

    /// The pause that is due now: busy * 100 / load - wall, since the last `begin`; never less than 20 ms (or
    /// the longest rest, if that is shorter) and never more than the longest rest.
    Clock::Duration pause(Clock::Duration wall, Clock::Duration cpu) const;

private:
    std::uint32_t loadPercent;
    Clock::Duration longestRest;
    Clock::Duration wallAtBegin{};
    Clock::Duration cpuAtBegin{};
};

} // namespace velk::common::sched
