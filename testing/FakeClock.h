#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"

#include <condition_variable>
#include <cstddef>
#include <iterator>
#include <list>
#include <thread>
#include <vector>

namespace velk::testing {

/// A clock that a test moves. It keeps what it was asked for.
///
/// Example:
///     FakeClock clock{FakeClock::Passing::ByHand};
///     std::thread sleeper{[&] { clock.sleepFor(std::chrono::seconds{2}); }};
///     clock.awaitBlocked(1);
///     clock.advance(std::chrono::seconds{2});
///     sleeper.join();
///
/// Threads: any.
class FakeClock final : public common::Clock {
public:
    using Mutex = common::Mutex;
    using MutexLock = common::MutexLock;

    /// What a sleep or a wait does.
    enum class Passing {
        AtOnce, ///< moves the time by all that it was asked for and returns
        ByHand, ///< blocks until the test has moved the time that far, or, for a wait, until it is notified
    };

    explicit FakeClock(Passing passingOfTime = Passing::AtOnce) : passing{passingOfTime} {}

    Duration now() const override {
        const MutexLock lock{mutex};
        return wallTime;
    }

    Duration cpuTime() const override {
        const MutexLock lock{mutex};
        return usedTime;
    }

    void sleepFor(Duration pause) override {
        MutexLock lock{mutex};
        sleepRequests.push_back(pause);
        if (passing == Passing::AtOnce) {
            wallTime += pause;
            return;
        }
        const Duration deadline = wallTime + pause;
        ++blockedSleepers;
        changed.notify_all();
        while (wallTime < deadline) {
            changed.wait(lock);
        }
        --blockedSleepers;
    }

    // The analysis cannot see which mutex the caller's lock holds.
    void waitFor(std::condition_variable_any& condition, MutexLock& callersLock,
                 Duration timeout) override VELK_NO_THREAD_SAFETY_ANALYSIS {
        if (passAtOnce(timeout)) {
            // As a real wait would, so that the others get on.
            callersLock.unlock();
            std::this_thread::yield();
            callersLock.lock();
            return;
        }
        const auto waiter = enter(condition, timeout);
        if (waiter->isDue) {
            leave(waiter);
            return;
        }
        condition.wait(callersLock);
        leave(waiter);
    }

    void setCpuTime(Duration time) {
        const MutexLock lock{mutex};
        usedTime = time;
    }

    /// Moves the time forward and returns when every wait that is over by then has woken. The caller must not
    /// hold a lock that such a wait needs to return.
    void advance(Duration step) {
        MutexLock lock{mutex};
        wallTime += step;
        changed.notify_all();
        while (wakeDueWaiters()) {
            lock.unlock();
            std::this_thread::yield();
            lock.lock();
        }
    }

    void setNow(Duration time) { advance(time - now()); }

    /// How many threads sleep or wait at present.
    std::size_t blocked() const {
        const MutexLock lock{mutex};
        return blockedSleepers + waiters.size();
    }

    /// Blocks until at least `count` threads sleep or wait here.
    void awaitBlocked(std::size_t count) const {
        MutexLock lock{mutex};
        while (blockedSleepers + waiters.size() < count) {
            changed.wait(lock);
        }
    }

    /// What `sleepFor` was asked for, in order.
    std::vector<Duration> sleeps() const {
        const MutexLock lock{mutex};
        return sleepRequests;
    }

    /// What `waitFor` was asked for, in order.
    std::vector<Duration> waits() const {
        const MutexLock lock{mutex};
        return waitRequests;
    }

private:
    struct Waiter {
        std::condition_variable_any* condition;
        Duration deadline;
        bool isDue;
    };
    using Waiters = std::list<Waiter>;

    bool passAtOnce(Duration timeout) {
        const MutexLock lock{mutex};
        waitRequests.push_back(timeout);
        if (passing == Passing::AtOnce) {
            wallTime += timeout;
        }
        return passing == Passing::AtOnce;
    }

    Waiters::iterator enter(std::condition_variable_any& condition, Duration timeout) {
        const MutexLock lock{mutex};
        waiters.push_back({&condition, wallTime + timeout, timeout <= Duration::zero()});
        changed.notify_all();
        return std::prev(waiters.end());
    }

    void leave(Waiters::iterator waiter) {
        const MutexLock lock{mutex};
        waiters.erase(waiter);
    }

    /// Whether there was one. A waiter may not have got as far as its condition yet, hence the repetition in
    /// `advance`; its condition lives at least until it has left.
    bool wakeDueWaiters() VELK_REQUIRES(mutex) {
        bool found = false;
        for (const Waiter& waiter : waiters) {
            if (waiter.deadline <= wallTime) {
                waiter.condition->notify_all();
                found = true;
            }
        }
        return found;
    }

    const Passing passing;
    mutable Mutex mutex;
    mutable std::condition_variable_any changed;
    Duration wallTime VELK_GUARDED_BY(mutex){std::chrono::hours{1}};
    Duration usedTime VELK_GUARDED_BY(mutex){};
    std::size_t blockedSleepers VELK_GUARDED_BY(mutex){0};
    Waiters waiters VELK_GUARDED_BY(mutex);
    std::vector<Duration> sleepRequests VELK_GUARDED_BY(mutex);
    std::vector<Duration> waitRequests VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
