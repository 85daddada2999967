#include "powerdistribution/sched/ThreadPool.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <utility>

namespace velk::common {

namespace {

constexpr Clock::Duration LONGEST_WAIT_FOR_ROOM = std::chrono::milliseconds{500};

} // namespace

ThreadPool::ThreadPool(unsigned int threadCount) {
    try {
        for (unsigned int i = 0; i < threadCount; ++i) {
            threads.emplace_back([this] { workerJob(); });
        }
    } catch (...) {
        shutDown();
        throw;
    }
}

ThreadPool::~ThreadPool() {
    shutDown();
}

std::future<void> ThreadPool::async(const Job& job) {
    const auto task = std::make_shared<std::packaged_task<void()>>(job);
    std::future<void> result = task->get_future();
    {
        const MutexLock lock{mutex};
        if (stopped) {
            throw std::runtime_error{"Failed to enqueue on stopped ThreadPool"};
        }
        queue.emplace_back([task] { (*task)(); });
    }
    workAvailable.notify_one();
    workerIdle.notify_all();
    return result;
}

void ThreadPool::waitForRoom(const std::atomic<bool>& running, Clock& clock) {
    MutexLock lock{mutex};
    while (running && !(queue.empty() && idleWorkers != 0)) {
        clock.waitFor(workerIdle, lock, LONGEST_WAIT_FOR_ROOM);
    }
}

void ThreadPool::shutDown() {
    {
        const MutexLock lock{mutex};
        stopped = true;
    }
    workAvailable.notify_all();
    for (std::thread& thread : threads) {
        thread.join();
    }
    threads.clear();
}

void ThreadPool::workerJob() {
    for (;;) {
        Job job;
        if (!takeJob(job)) {
            return;
        }
        job();
        workerIdle.notify_all();
    }
}

/// False when the worker is to end.
bool ThreadPool::takeJob(Job& job) {
    MutexLock lock{mutex};
    if (queue.empty()) {
        ++idleWorkers;
        workerIdle.notify_all();
        while (queue.empty() && !stopped) {
            workAvailable.wait(lock);
        }
        // Required: a worker that was waiting ends at once, even if there are jobs by now.
        if (stopped) {
            return false;
        }
        --idleWorkers;
    }
    job = std::move(queue.front());
    queue.pop_front();
    return true;
}

} // namespace velk::common
