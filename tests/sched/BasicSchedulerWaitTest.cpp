#include "SchedulerFixture.h"

#include <atomic>
#include <future>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;
using velk::common::ThreadPool;

/// The waits of a scheduler on a clock that stands still until the test moves it.
class BasicSchedulerWaitTest : public SchedulerTest {
protected:
    BasicSchedulerWaitTest() : SchedulerTest{FakeClock::Passing::ByHand} {}
};

TEST_F(BasicSchedulerWaitTest, JobsDroppedWithAnOldPoolAreStartedAgainOnTheNewOne) {
    pushNamed(0, "task");
    scheduler.running = true;
    scheduler.pool = std::make_shared<ThreadPool>(0);
    std::thread background{[&] { scheduler.background(); }};
    cooldown.onRest = [] {};
    clock.awaitBlocked(1);
    scheduler.running = false;
    clock.advance(500ms);
    background.join();
    EXPECT_EQ(run(2), (std::vector<Names>{{"task"}, {"task"}}));
}

TEST_F(BasicSchedulerWaitTest, PoolWithoutWorkersIsWaitedForInHalfSecondsUntilStop) {
    pushNamed(0, "task");
    int rests = 0;
    cooldown.onRest = [&] { ++rests; };
    scheduler.running = true;
    scheduler.pool = std::make_shared<ThreadPool>(0);
    std::thread background{[&] { scheduler.background(); }};
    for (int i = 0; i < 3; ++i) {
        clock.awaitBlocked(1);
        clock.advance(500ms);
    }
    clock.awaitBlocked(1);
    scheduler.running = false;
    clock.advance(500ms);
    background.join();
    EXPECT_EQ(clock.waits(), (std::vector<velk::common::Clock::Duration>(4, 500ms)));
    EXPECT_EQ(rests, 1) << "the cycle in which it is stopped is the only one";
    EXPECT_EQ(takeLog(), Names{});
}

TEST_F(BasicSchedulerWaitTest, NextCycleStartsOnlyWhenTheQueueIsEmptyAgain) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    for (int i = 0; i < 4; ++i) {
        push(0, [this, released] {
            released.wait();
            note("task");
        });
    }
    std::atomic<int> rests{0};
    cooldown.onRest = [&] {
        EXPECT_EQ(takeLog().size(), 4U);
        ++rests;
        scheduler.running = false;
    };
    scheduler.running = true;
    scheduler.pool = std::make_shared<ThreadPool>(1);
    std::thread background{[&] { scheduler.background(); }};
    for (int i = 0; i < 3; ++i) {
        clock.awaitBlocked(1);
        clock.advance(500ms);
    }
    EXPECT_EQ(rests, 0);
    release.set_value();
    background.join();
    EXPECT_EQ(rests, 1);
}

TEST_F(BasicSchedulerWaitTest, InterruptEndsTheRestOfAScheduler) {
    Scheduler resting{1, std::make_unique<velk::common::sched::CpuLoadCooldown>(1, 60000, clock), clock};
    clock.setCpuTime(0s);
    resting.push({.function = [this] { clock.setCpuTime(1h); }});
    resting.running = true;
    resting.pool = std::make_shared<ThreadPool>(1);
    const auto start = clock.now();
    std::thread background{[&] { resting.background(); }};
    while (clock.waits().empty() || clock.waits().back() != 60s) {
        std::this_thread::yield();
    }
    resting.running = false;
    resting.cooldown().interrupt();
    background.join();
    EXPECT_EQ(clock.now(), start) << "the rest was not waited for";
}

} // namespace
