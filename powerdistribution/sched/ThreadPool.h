#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <thread>
#include <vector>

namespace velk::common {

/// A fixed number of threads that run jobs in order of arrival.
///
/// Threads: `async`, `enqueue`, `wakeWorkers` and `waitForRoom` on any; construction, `shutDown` and
/// destruction on one, which is none of the workers.
class ThreadPool {
public:
    using Job = std::function<void()>;

    /// Starts `threadCount` workers. When one cannot be started, those already running are stopped and joined
    /// and the failure is passed on.
    explicit ThreadPool(unsigned int threadCount);

    /// As `shutDown`; jobs still in the queue are dropped with it, which breaks the promises of their
    /// futures.
    ~ThreadPool();

    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// Queues one run of `job`, whose own exception stays in the future.
    /// Throws std::runtime_error "Failed to enqueue on stopped ThreadPool".
    std::future<void> async(const Job& job) VELK_EXCLUDES(mutex);

    /// As `async`, but workers that wait for work do not hear of it before `wakeWorkers`: so that many short
    /// jobs do not wake and lay down a worker each.
    std::future<void> enqueue(const Job& job) VELK_EXCLUDES(mutex);
    void wakeWorkers();

    /// Blocks until the queue is empty and a worker is idle, or until `running` is false, which is noticed
    /// within 500 ms of `clock`.
    void waitForRoom(const std::atomic<bool>& running, Clock& clock) VELK_EXCLUDES(mutex);

    /// Stops and joins the workers. Running jobs end first, and a worker that finds jobs goes on with them.
    /// A second call does nothing.
    void shutDown() VELK_EXCLUDES(mutex);

private:
    void workerJob() VELK_EXCLUDES(mutex);
    bool takeTask(std::packaged_task<void()>& task) VELK_EXCLUDES(mutex);

    std::vector<std::thread> threads;
    std::deque<std::packaged_task<void()>> queue VELK_GUARDED_BY(mutex);
    Mutex mutex;
    std::condition_variable_any workAvailable;
    std::condition_variable_any workerIdle;
    bool stopped VELK_GUARDED_BY(mutex){false};
    std::uint32_t idleWorkers VELK_GUARDED_BY(mutex){0};
};

} // namespace velk::common
