#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"

#include <cstddef>
#include <vector>

namespace velk::benchmarks {

/// The machine's clock, which notes the cycles of the one scheduler that goes by it: the cool-down asks for
/// the CPU time once before the first cycle and once at the beginning of each rest.
///
/// Threads: any.
class CycleClock final : public common::Clock {
public:
    /// The end of one cycle and the beginning of its rest; the first mark is the start of the scheduler.
    struct Mark {
        Duration wall{};
        Duration cpu{};
        Duration rest{}; ///< how long the rest took; zero while it lasts
    };

    Duration now() const override { return system().now(); }

    Duration cpuTime() const override VELK_EXCLUDES(mutex) {
        const Mark mark{system().now(), system().cpuTime(), {}};
        const common::MutexLock lock{mutex};
        marks.push_back(mark);
        isResting = true;
        return mark.cpu;
    }

    void sleepFor(Duration pause) override { system().sleepFor(pause); }

    void waitFor(std::condition_variable_any& condition, common::MutexLock& lock, Duration timeout) override {
        const bool rests = takeRest();
        const Duration start = now();
        system().waitFor(condition, lock, timeout);
        if (rests) {
            noteRest(now() - start);
        }
    }

    /// Cycles that have ended.
    std::size_t cycles() const VELK_EXCLUDES(mutex) {
        const common::MutexLock lock{mutex};
        return marks.empty() ? 0 : marks.size() - 1;
    }

    /// When the cycle of this number, counted from 0, began, or would begin if it does not rest; the start of
    /// time for one that has not begun.
    Duration startOf(std::size_t cycle) const VELK_EXCLUDES(mutex) {
        const common::MutexLock lock{mutex};
        return cycle < marks.size() ? marks[cycle].wall + marks[cycle].rest : Duration{};
    }

    std::vector<Mark> all() const VELK_EXCLUDES(mutex) {
        const common::MutexLock lock{mutex};
        return marks;
    }

private:
    /// True for the first wait after a mark, which is the rest. Later ones wait for room in the pool.
    bool takeRest() VELK_EXCLUDES(mutex) {
        const common::MutexLock lock{mutex};
        const bool rests = isResting && marks.size() > 1;
        isResting = false;
        return rests;
    }
    void noteRest(Duration rest) VELK_EXCLUDES(mutex) {
        const common::MutexLock lock{mutex};
        marks.back().rest = rest;
    }

    mutable common::Mutex mutex;
    mutable std::vector<Mark> marks VELK_GUARDED_BY(mutex);
    mutable bool isResting VELK_GUARDED_BY(mutex){false};
};

} // namespace velk::benchmarks
