#include "powerdistribution/sched/ThreadPool.h"

#include <chrono>
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
    std::future<void> result = enqueue(job);
    workAvailable.notify_one();
    workerIdle.notify_all();
    return result;
}

std::future<void> ThreadPool::enqueue(const Job& job) {
    std::packaged_task<void()> task{job};
    std::future<void> result = task.get_future();
    const MutexLock lock{mutex};
    if (stopped) {
        throw std::runtime_error{"Failed to enqueue on stopped ThreadPool"};
    }
    queue.push_back(std::move(task));
    return result;
}

void ThreadPool::wakeWorkers() {
    workAvailable.notify_all();
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
        std::packaged_task<void()> task;
        if (!takeTask(task)) {
            return;
        }
        task();
    }
}

/// False when the worker is to end. A scheduler that waits for room is woken only when there may be some:
/// with the last job of the queue, and by a worker that finds none.
bool ThreadPool::takeTask(std::packaged_task<void()>& task) {
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
    task = std::move(queue.front());
    queue.pop_front();
    // Another worker may have been woken for this job and count as idle still.
    if (queue.empty() && idleWorkers != 0) {
        workerIdle.notify_all();
    }
    return true;
}

} // namespace velk::common
