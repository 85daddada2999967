#pragma once

#include "platform/common/Clock.h"
#include "platform/common/CpuLoadCooldown.h"
#include "platform/common/Mutex.h"
#include "powerdistribution/sched/Heap.h"
#include "powerdistribution/sched/Task.h"
#include "powerdistribution/sched/ThreadPool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <utility>
#include <vector>

namespace velk::common::sched {

/// Runs a fixed set of small jobs over and over on a small pool of threads, without saturating the processor.
///
/// Time advances in cycles, and a cycle is as long as the load requires: the tasks of the lowest rank are
/// started, the others come one rank nearer, and the scheduler rests. So, beside a task of rank 0, rank N
/// means one run in every N+1 cycles.
///
/// The owner of the scheduler starts it: set `running`, make the `pool`, run `background` on a thread of its
/// own and keep its future in `backgroundResult`. To stop it: clear `running`, call `cooldown().interrupt()`,
/// then wait for `backgroundResult`.
///
/// Threads: `background` on one; everything else on the owner's. The flags are read and written by both;
/// `pool` and `backgroundResult` are replaced only while `background` does not run.
template <typename F>
class BasicScheduler {
public:
    /// `clock` times the wait for room in the pool and outlives this object.
    BasicScheduler(std::uint32_t threadCount, std::unique_ptr<ICooldown> regulator,
                   Clock& clock = Clock::system()) :
        maxThreads{threadCount}, restBetweenCycles{std::move(regulator)}, clock{clock} {}

    BasicScheduler(const BasicScheduler&) = delete;
    BasicScheduler& operator=(const BasicScheduler&) = delete;

    /// Makes room for all tasks that will be pushed, so that putting one back never reallocates.
    /// Throws std::length_error "vector::reserve" for more than a vector can hold.
    void reserve(std::size_t count) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        tasks.reserve(count);
    }

    void push(Task<F>&& task) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        tasks.push(std::move(task));
    }

    /// The number of tasks waiting for their turn.
    std::size_t taskCount() const VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        return tasks.size();
    }

    ICooldown& cooldown() { return *restBetweenCycles; }

    /// The body of the scheduler's own thread: cycles until `running` is false. What the pool or the
    /// cool-down throws leaves it; what a job throws does not.
    void background() VELK_EXCLUDES(mutex) {
        restBetweenCycles->begin();
        std::vector<Task<F>> pending;
        while (running) {
            const bool endsWhenEmpty = draining;
            if (taskCount() != 0) {
                startAll(choose(), pending);
            } else if (endsWhenEmpty) {
                draining = false;
                break;
            }
            pool->waitForRoom(running, clock);
            reapOne(pending);
            restBetweenCycles->rest();
        }
    }

    /// Size of the pool that the owner makes.
    const std::uint32_t maxThreads;
    /// True between start and stop.
    std::atomic<bool> running{false};
    /// When set, no task returns to the heap, and `background` ends, clearing it, once the heap is empty.
    std::atomic<bool> draining{false};
    /// The future of `background`; null before the first start.
    std::shared_ptr<std::future<void>> backgroundResult;
    /// Null before the first start.
    std::shared_ptr<ThreadPool> pool;

private:
    /// Workers that poll a short job each would be woken and laid down again for every one.
    static constexpr std::size_t JOBS_PER_WAKE = 64;

    static bool isReady(const std::future<void>& result) {
        return result.wait_for(std::chrono::seconds{0}) == std::future_status::ready;
    }

    /// Takes the tasks of the lowest rank off the heap and brings all others one rank nearer.
    std::vector<Task<F>> choose() VELK_EXCLUDES(mutex) {
        std::vector<Task<F>> batch;
        const MutexLock lock{mutex};
        const std::uint32_t lowest = tasks.top().currentPriority;
        while (!tasks.empty() && tasks.top().currentPriority <= lowest) {
            batch.push_back(tasks.pop());
        }
        // Required: the heap is not rebuilt. A task that reaches 0 may stay behind one of a greater base
        // rank.
        for (Task<F>& task : tasks) {
            if (task.currentPriority != 0) {
                --task.currentPriority;
            }
        }
        return batch;
    }

    void startAll(std::vector<Task<F>>&& batch, std::vector<Task<F>>& pending) VELK_EXCLUDES(mutex) {
        std::size_t unannounced = 0;
        for (Task<F>& task : batch) {
            const bool isRecurring = task.kind == Task<F>::RECURRING;
            const bool isStillRunning = task.result && !isReady(*task.result);
            if (!isStillRunning) {
                task.result = std::make_shared<std::future<void>>(pool->enqueue(task.function));
                if (++unannounced % JOBS_PER_WAKE == 0) {
                    pool->wakeWorkers();
                }
                task.currentPriority = isRecurring ? task.basePriority : task.currentPriority;
            }
            // A task whose last run goes on returns unchanged, so that it comes up again in the next cycle.
            if (!isStillRunning && !isRecurring) {
                pending.push_back(std::move(task));
            } else if (!draining) {
                push(std::move(task));
            }
        }
        pool->wakeWorkers();
    }

    /// Required: at most one finished task leaves in a cycle.
    static void reapOne(std::vector<Task<F>>& pending) {
        const auto finished = std::find_if(pending.begin(), pending.end(),
                                           [](const Task<F>& task) { return isReady(*task.result); });
        if (finished != pending.end()) {
            pending.erase(finished);
        }
    }

    mutable Mutex mutex;
    Heap<Task<F>> tasks VELK_GUARDED_BY(mutex);
    const std::unique_ptr<ICooldown> restBetweenCycles;
    Clock& clock;
};

} // namespace velk::common::sched
