#pragma once

#include "platform/common/Clock.h"

#include <algorithm>
#include <chrono>

namespace velk::daemon {

/// The growing pause between attempts that fail: 1, 2, 4, … seconds up to a minute.
class RetryPause {
public:
    using Duration = velk::common::Clock::Duration;

    static constexpr Duration FIRST = std::chrono::seconds{1};
    static constexpr Duration LONGEST = std::chrono::seconds{60};

    /// The pause that is due now; the next one is longer.
    Duration next() {
        const Duration due = pause;
        pause = std::min(2 * pause, LONGEST);
        return due;
    }

    /// Begins again, after an attempt that went well for a while.
    void reset() { pause = FIRST; }

private:
    Duration pause{FIRST};
};

} // namespace velk::daemon
