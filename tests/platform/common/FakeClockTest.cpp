#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using velk::common::Clock;
using velk::common::Mutex;
using velk::common::MutexLock;
using velk::testing::FakeClock;
using namespace std::chrono_literals;
using Durations = std::vector<Clock::Duration>;

TEST(FakeClockTest, StandsStillUntilItIsMoved) {
    FakeClock clock;
    const Clock::Duration start = clock.now();
    EXPECT_EQ(clock.now(), start);
    clock.advance(3s);
    EXPECT_EQ(clock.now(), start + 3s);
    clock.setNow(start + 1h);
    EXPECT_EQ(clock.now(), start + 1h);
    clock.setCpuTime(20ms);
    EXPECT_EQ(clock.cpuTime(), 20ms);
}

TEST(FakeClockTest, SleepPassesAtOnceAndIsKept) {
    FakeClock clock;
    const Clock::Duration start = clock.now();
    clock.sleepFor(2s);
    clock.sleepFor(1s);
    EXPECT_EQ(clock.now(), start + 3s);
    EXPECT_EQ(clock.sleeps(), (Durations{2s, 1s}));
}

TEST(FakeClockTest, WaitPassesAtOnceAndIsKept) {
    FakeClock clock;
    const Clock::Duration start = clock.now();
    Mutex mutex;
    std::condition_variable_any condition;
    MutexLock lock{mutex};
    clock.waitFor(condition, lock, 500ms);
    EXPECT_EQ(clock.now(), start + 500ms);
    EXPECT_EQ(clock.waits(), (Durations{500ms}));
    EXPECT_FALSE(mutex.try_lock()) << "the lock is held again";
}

TEST(FakeClockTest, SleepByHandEndsWhenTheTimeHasCome) {
    FakeClock clock{FakeClock::Passing::ByHand};
    bool woken = false;
    std::thread sleeper{[&] {
        clock.sleepFor(2s);
        woken = true;
    }};
    clock.awaitBlocked(1);
    clock.advance(1s);
    clock.awaitBlocked(1);
    clock.advance(1s);
    sleeper.join();
    EXPECT_TRUE(woken);
}

TEST(FakeClockTest, WaitByHandEndsWhenTheTimeHasCome) {
    FakeClock clock{FakeClock::Passing::ByHand};
    const Clock::Duration start = clock.now();
    Mutex mutex;
    std::condition_variable_any condition;
    std::thread waiter{[&] {
        MutexLock lock{mutex};
        while (clock.now() < start + 2s) {
            clock.waitFor(condition, lock, start + 2s - clock.now());
        }
    }};
    clock.awaitBlocked(1);
    clock.advance(2s);
    waiter.join();
    EXPECT_EQ(clock.waits(), (Durations{2s}));
}

TEST(FakeClockTest, WaitByHandEndsWithANotification) {
    FakeClock clock{FakeClock::Passing::ByHand};
    const Clock::Duration start = clock.now();
    Mutex mutex;
    std::condition_variable_any condition;
    bool done = false;
    std::thread waiter{[&] {
        MutexLock lock{mutex};
        while (!done) {
            clock.waitFor(condition, lock, 1h);
        }
    }};
    clock.awaitBlocked(1);
    {
        const MutexLock lock{mutex};
        done = true;
    }
    condition.notify_all();
    waiter.join();
    EXPECT_EQ(clock.now(), start);
}

TEST(FakeClockTest, MovesSeveralThreadsAtOnce) {
    FakeClock clock{FakeClock::Passing::ByHand};
    Mutex mutex;
    std::condition_variable_any condition;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] { clock.sleepFor(1s); });
        threads.emplace_back([&] {
            MutexLock lock{mutex};
            clock.waitFor(condition, lock, 1s);
        });
    }
    clock.awaitBlocked(6);
    clock.advance(1s);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(clock.sleeps().size(), 3U);
    EXPECT_EQ(clock.waits().size(), 3U);
}

TEST(FakeClockTest, WaitForNoTimeReturnsAtOnce) {
    FakeClock clock{FakeClock::Passing::ByHand};
    Mutex mutex;
    std::condition_variable_any condition;
    MutexLock lock{mutex};
    clock.waitFor(condition, lock, 0s);
    EXPECT_EQ(clock.waits(), (Durations{0s}));
}

} // namespace
