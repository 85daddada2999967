#include "SchedulerFixture.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <limits>
#include <memory>
#include <stdexcept>

namespace {

using BasicSchedulerTest = SchedulerTest;
using velk::common::ThreadPool;

TEST_F(BasicSchedulerTest, EmptyHeapRestsInEachCycle) {
    EXPECT_EQ(run(3), (std::vector<Names>{{}, {}, {}}));
    EXPECT_EQ(cooldown.begins, 1);
}

TEST_F(BasicSchedulerTest, NothingRunsWhenItIsNotStarted) {
    pushNamed(0, "task");
    cooldown.onRest = [] { FAIL() << "no cycle, no rest"; };
    scheduler.background();
    EXPECT_EQ(takeLog(), Names{});
    EXPECT_EQ(cooldown.begins, 1);
}

TEST_F(BasicSchedulerTest, LongJobIsNotStartedTwice) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    push(0, [this, released] {
        note("long");
        released.wait();
    });
    awaitedWorkers = 1;
    EXPECT_EQ(run(5, 2), (std::vector<Names>{{"long"}, {}, {}, {}, {}}));
    release.set_value();
    scheduler.pool->shutDown();
    EXPECT_EQ(takeLog(), Names{});
}

TEST_F(BasicSchedulerTest, LongJobKeepsItsRankAndStartsAgainInTheCycleAfterItsEnd) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    pushNamed(0, "short");
    push(3, [this, released] {
        released.wait();
        note("long");
    });
    // Starts in cycle 4, is due again in 8 and every one after it, ends in 10, starts in 11 and, by its base
    // rank, in 15.
    const auto logs = run(15, 2, [&](int cycle) {
        if (cycle == 3) {
            awaitedWorkers = 1;
        }
        if (cycle == 10) {
            release.set_value();
            awaitedWorkers = 2;
            settle(2);
            EXPECT_EQ(takeLog(), (Names{"long"}));
        }
    });
    for (int cycle = 1; cycle <= 15; ++cycle) {
        const Names& names = logs[cycle - 1];
        EXPECT_EQ(std::count(names.begin(), names.end(), "short"), 1) << "cycle " << cycle;
        EXPECT_EQ(std::count(names.begin(), names.end(), "long"), cycle == 11 || cycle == 15 ? 1 : 0)
            << "cycle " << cycle;
    }
}

TEST_F(BasicSchedulerTest, FailingJobRunsAgainInItsTurn) {
    push(1, [this] {
        note("failing");
        throw std::runtime_error{"device is silent"};
    });
    pushNamed(0, "other");
    EXPECT_EQ(run(4), (std::vector<Names>{{"other"}, {"other", "failing"}, {"other"}, {"other", "failing"}}));
}

TEST_F(BasicSchedulerTest, TaskOfAnotherKindRunsOnceAndDoesNotReturn) {
    pushNamed(0, "once", 0);
    pushNamed(0, "also once", 2);
    pushNamed(1, "recurring");
    const auto logs = run(4);
    EXPECT_EQ(logs[0].size(), 2U);
    EXPECT_EQ(logs[1], (Names{"recurring"}));
    EXPECT_EQ(logs[3], (Names{"recurring"}));
    EXPECT_EQ(scheduler.taskCount(), 1U);
}

TEST_F(BasicSchedulerTest, AtMostOneFinishedTaskIsReleasedInACycle) {
    const std::vector<std::shared_ptr<int>> tokens{std::make_shared<int>(1), std::make_shared<int>(2),
                                                   std::make_shared<int>(3)};
    for (const auto& token : tokens) {
        pushOnce(0, [token] {});
    }
    std::vector<long> held;
    run(4, 1, [&](int) {
        held.push_back(std::count_if(tokens.begin(), tokens.end(),
                                     [](const auto& token) { return token.use_count() > 1; }));
    });
    EXPECT_EQ(held, (std::vector<long>{2, 1, 0, 0}));
}

TEST_F(BasicSchedulerTest, FinishedTaskIsReleasedBeforeALongOneThatWasStartedEarlier) {
    const auto longToken = std::make_shared<int>(0);
    const auto shortToken = std::make_shared<int>(0);
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    pushOnce(0, [longToken, released] { released.wait(); });
    pushOnce(1, [shortToken] {});
    awaitedWorkers = 1;
    run(3, 2, [&](int cycle) {
        if (cycle == 3) {
            EXPECT_EQ(shortToken.use_count(), 1);
            EXPECT_GT(longToken.use_count(), 1);
        }
    });
    release.set_value();
    scheduler.pool->shutDown();
    EXPECT_EQ(longToken.use_count(), 1);
}

TEST_F(BasicSchedulerTest, EndDoesNotWaitForTasksThatRunOnce) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> ended{false};
    pushOnce(0, [&ended, released] {
        released.wait();
        ended = true;
    });
    awaitedWorkers = 1;
    run(1, 2);
    EXPECT_FALSE(ended);
    release.set_value();
    scheduler.pool->shutDown();
    EXPECT_TRUE(ended);
}

TEST_F(BasicSchedulerTest, DrainingRunsEachTaskOnceMoreAndEnds) {
    pushNamed(0, "status");
    pushNamed(7, "measure");
    scheduler.draining = true;
    EXPECT_EQ(run(100), (std::vector<Names>{{"status"}, {"measure"}}));
    EXPECT_FALSE(scheduler.draining) << "cleared at the end";
    EXPECT_TRUE(scheduler.running);
    EXPECT_EQ(scheduler.taskCount(), 0U);
}

TEST_F(BasicSchedulerTest, DrainingDropsATaskWhoseLastRunGoesOn) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    push(0, [released] { released.wait(); });
    awaitedWorkers = 1;
    const auto logs = run(100, 2, [&](int cycle) {
        if (cycle == 2) {
            scheduler.draining = true;
        }
    });
    EXPECT_EQ(logs.size(), 3U);
    EXPECT_EQ(scheduler.taskCount(), 0U);
    release.set_value();
}

TEST_F(BasicSchedulerTest, TasksStayForTheNextStart) {
    pushNamed(0, "a");
    pushNamed(1, "b");
    EXPECT_EQ(run(1), (std::vector<Names>{{"a"}}));
    EXPECT_EQ(run(1), (std::vector<Names>{{"a", "b"}}));
    EXPECT_EQ(cooldown.begins, 2);
}

TEST_F(BasicSchedulerTest, StoppedPoolEndsTheBackgroundWithItsFailure) {
    pushNamed(0, "task");
    scheduler.running = true;
    scheduler.pool = std::make_shared<ThreadPool>(1);
    scheduler.pool->shutDown();
    auto result = std::async(std::launch::async, [&] { scheduler.background(); });
    try {
        result.get();
        FAIL() << "no exception";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "Failed to enqueue on stopped ThreadPool");
    }
}

TEST_F(BasicSchedulerTest, FailureOfTheCooldownEndsTheBackground) {
    EXPECT_THROW(run(5, 1, [](int) { throw std::runtime_error{"no clock"}; }), std::runtime_error);
}

TEST_F(BasicSchedulerTest, MoreTasksThanAVectorCanHoldAreALengthError) {
    try {
        scheduler.reserve(std::numeric_limits<std::size_t>::max());
        FAIL() << "no exception";
    } catch (const std::length_error& failure) {
        EXPECT_STREQ(failure.what(), "vector::reserve");
    }
}

TEST_F(BasicSchedulerTest, JobsOfManyWorkersNeverOverlapThemselves) {
    constexpr int TASKS = 20;
    std::vector<std::atomic<int>> running(TASKS);
    std::atomic<int> runs{0};
    std::atomic<bool> overlapped{false};
    for (int i = 0; i < TASKS; ++i) {
        push(i % 3, [&, i] {
            overlapped = running[i].fetch_add(1) != 0 || overlapped;
            std::this_thread::yield();
            ++runs;
            --running[i];
        });
    }
    awaitedWorkers = 0;
    run(300, 4);
    scheduler.pool->shutDown();
    EXPECT_FALSE(overlapped);
    EXPECT_GT(runs, 300);
}

} // namespace
