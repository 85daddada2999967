#include "powerdistribution/sched/ThreadPool.h"

#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using velk::common::ThreadPool;
using velk::testing::FakeClock;
using namespace std::chrono_literals;
using Durations = std::vector<velk::common::Clock::Duration>;

/// Returns when every worker is between two jobs, so that all earlier jobs are over.
void settle(ThreadPool& pool, int workers) {
    std::latch all{workers};
    std::vector<std::future<void>> results;
    for (int i = 0; i < workers; ++i) {
        results.push_back(pool.async([&] { all.arrive_and_wait(); }));
    }
    for (auto& result : results) {
        result.get();
    }
}

/// Returns once the pool takes no more jobs.
void awaitStopped(ThreadPool& pool) {
    try {
        for (;;) {
            pool.async([] {});
            std::this_thread::yield();
        }
    } catch (const std::runtime_error&) {
        return;
    }
}

TEST(ThreadPoolTest, JobsRunInOrderOfArrival) {
    std::vector<int> order;
    ThreadPool pool{1};
    std::future<void> last;
    for (int i = 0; i < 100; ++i) {
        last = pool.async([&order, i] { order.push_back(i); });
    }
    last.get();
    ASSERT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(ThreadPoolTest, EveryWorkerTakesJobs) {
    ThreadPool pool{4};
    settle(pool, 4);
}

TEST(ThreadPoolTest, ExceptionOfAJobStaysInItsFutureAndTheWorkerGoesOn) {
    ThreadPool pool{1};
    std::future<void> failing = pool.async([] { throw std::runtime_error{"device is silent"}; });
    std::future<void> next = pool.async([] {});
    next.get();
    try {
        failing.get();
        FAIL() << "no exception";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "device is silent");
    }
}

TEST(ThreadPoolTest, StoppedPoolTakesNoJobs) {
    ThreadPool pool{1};
    pool.shutDown();
    try {
        pool.async([] {});
        FAIL() << "no exception";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "Failed to enqueue on stopped ThreadPool");
    }
}

TEST(ThreadPoolTest, SecondShutDownDoesNothing) {
    ThreadPool pool{2};
    pool.shutDown();
    pool.shutDown();
}

TEST(ThreadPoolTest, ShutDownWaitsForTheRunningJobAndItsWorkerGoesOnWithTheQueue) {
    ThreadPool pool{1};
    std::promise<void> started;
    std::promise<void> release;
    bool ran = false;
    bool ranNext = false;
    pool.async([&] {
        started.set_value();
        release.get_future().wait();
        ran = true;
    });
    pool.async([&] { ranNext = true; });
    started.get_future().wait(); // a worker that still waits for work would leave at once
    std::thread stopping{[&] { pool.shutDown(); }};
    awaitStopped(pool);
    release.set_value();
    stopping.join();
    EXPECT_TRUE(ran);
    EXPECT_TRUE(ranNext);
}

TEST(ThreadPoolTest, JobsLeftInTheQueueAreDroppedWithIt) {
    const auto token = std::make_shared<int>(0);
    std::future<void> result;
    {
        ThreadPool withoutWorkers{0};
        result = withoutWorkers.async([token] { ++*token; });
    }
    EXPECT_THROW(result.get(), std::future_error);
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(*token, 0);
}

TEST(ThreadPoolTest, JobIsReleasedWhenItIsOver) {
    const auto token = std::make_shared<int>(0);
    ThreadPool pool{1};
    pool.async([token] {});
    settle(pool, 1);
    EXPECT_EQ(token.use_count(), 1);
}

TEST(ThreadPoolTest, RoomMeansAnEmptyQueueAndAnIdleWorker) {
    FakeClock clock{FakeClock::Passing::ByHand};
    const std::atomic<bool> running{true};
    ThreadPool pool{1};
    std::promise<void> release;
    std::atomic<bool> ranLast{false};
    pool.async([&] { release.get_future().wait(); });
    pool.async([&] { ranLast = true; });
    std::thread waiting{[&] {
        pool.waitForRoom(running, clock);
        EXPECT_TRUE(ranLast);
    }};
    clock.awaitBlocked(1);
    release.set_value();
    waiting.join();
}

TEST(ThreadPoolTest, ThereIsRoomWhenAWorkerTakesTheLastJobWhileAnotherOneIsIdle) {
    const std::atomic<bool> running{true};
    bool hasWaited = false;
    while (!hasWaited) {
        FakeClock clock{FakeClock::Passing::ByHand};
        ThreadPool pool{2};
        std::promise<void> release;
        pool.async([&] { release.get_future().wait(); });
        pool.waitForRoom(running, clock); // the other worker sleeps now
        pool.enqueue([] {}); // and nobody tells it, unless it was told of the first job and is late
        auto waiting = std::async(std::launch::async, [&] { pool.waitForRoom(running, clock); });
        while (clock.blocked() == 0 && waiting.wait_for(0s) != std::future_status::ready) {
            std::this_thread::yield();
        }
        hasWaited = clock.blocked() != 0;
        release.set_value();
        waiting.get();
    }
}

TEST(ThreadPoolTest, EnqueuedJobsRunInOrderOnceTheWorkersAreWoken) {
    std::vector<int> order;
    ThreadPool pool{1};
    settle(pool, 1);
    std::future<void> last;
    for (int i = 0; i < 100; ++i) {
        last = pool.enqueue([&order, i] { order.push_back(i); });
    }
    pool.wakeWorkers();
    last.get();
    ASSERT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(ThreadPoolTest, WakingReachesEveryWorker) {
    ThreadPool pool{3};
    settle(pool, 3);
    std::latch all{3};
    std::vector<std::future<void>> results;
    for (int i = 0; i < 3; ++i) {
        results.push_back(pool.enqueue([&] { all.arrive_and_wait(); }));
    }
    pool.wakeWorkers();
    for (auto& result : results) {
        result.get();
    }
}

TEST(ThreadPoolTest, WaitForRoomTestsAgainEveryHalfSecond) {
    FakeClock clock{FakeClock::Passing::ByHand};
    std::atomic<bool> running{true};
    ThreadPool withoutWorkers{0};
    std::thread waiting{[&] { withoutWorkers.waitForRoom(running, clock); }};
    for (int i = 0; i < 2; ++i) {
        clock.awaitBlocked(1);
        clock.advance(500ms);
    }
    clock.awaitBlocked(1);
    EXPECT_EQ(clock.waits(), (Durations{500ms, 500ms, 500ms}));
    running = false;
    clock.advance(500ms);
    waiting.join();
}

TEST(ThreadPoolTest, NobodyWaitsForRoomWhenNothingRuns) {
    FakeClock clock;
    const std::atomic<bool> running{false};
    ThreadPool withoutWorkers{0};
    withoutWorkers.waitForRoom(running, clock);
    EXPECT_EQ(clock.waits(), (Durations{}));
}

} // namespace
