#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace velk::simulator {

/// A delay that runs off in simulated time.
class Countdown {
public:
    void start(double seconds) { left = std::max(seconds, 0.0); }
    void cancel() { left.reset(); }
    bool isRunning() const { return left.has_value(); }

    /// True once, in the step in which the delay is over.
    bool step(double seconds) {
        if (!left) {
            return false;
        }
        *left -= seconds;
        if (*left > 0) {
            return false;
        }
        left.reset();
        return true;
    }

    /// Whole seconds that are left, rounded up; -1 when nothing runs.
    std::int32_t remaining() const { return left ? static_cast<std::int32_t>(std::ceil(*left)) : -1; }

private:
    std::optional<double> left;
};

} // namespace velk::simulator
