#pragma once

#include <algorithm>
#include <chrono>

namespace tessapi {

/// The moment at which a wait ends whatever has come until then. A plain value.
class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    static Deadline in(std::chrono::milliseconds pause) { return Deadline{Clock::now() + pause}; }

    /// The earlier one of this and `pause` from now.
    Deadline within(std::chrono::milliseconds pause) const {
        return Deadline{std::min(end, Clock::now() + pause)};
    }

    bool isOver() const { return Clock::now() >= end; }

    /// Milliseconds that are left, rounded up; never less than 0.
    int left() const {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        return static_cast<int>(std::clamp<decltype(rest)>(rest, 0, 3'600'000));
    }

private:
    explicit Deadline(Clock::time_point moment) : end{moment} {}

    Clock::time_point end;
};

} // namespace tessapi
