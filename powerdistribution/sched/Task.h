#pragma once

#include <cstdint>
#include <future>
#include <memory>

namespace velk::common::sched {

/// A small job that a `BasicScheduler` runs again and again. Ranks count cycles, not time.
template <typename F>
struct Task {
    /// The `kind` of a task that goes back to the heap after each start; every other runs once.
    static constexpr std::uint32_t RECURRING = 1;

    /// The rank that the task returns to after each start: the cycles that it waits between two runs.
    std::uint32_t basePriority{0};
    /// The rank now; aging lowers it.
    std::uint32_t currentPriority{0};
    std::uint32_t kind{RECURRING};
    F function{};
    /// The future of the last run; null before the first.
    std::shared_ptr<std::future<void>> result{};

    /// By the rank now, then by the rank to return to. Tasks equal in both have no defined order.
    friend bool operator<(const Task& a, const Task& b) {
        return a.currentPriority != b.currentPriority ? a.currentPriority < b.currentPriority
                                                      : a.basePriority < b.basePriority;
    }
};

} // namespace velk::common::sched
