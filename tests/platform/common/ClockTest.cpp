#include "platform/common/Clock.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/time.h>
#include <thread>

namespace {

using velk::common::Clock;
using velk::common::Mutex;
using velk::common::MutexLock;
using namespace std::chrono_literals;

TEST(ClockTest, SystemIsOneClock) {
    EXPECT_EQ(&Clock::system(), &Clock::system());
}

TEST(ClockTest, TimeOfTheMachineNeverGoesBack) {
    Clock& clock = Clock::system();
    const Clock::Duration before = clock.now();
    EXPECT_LE(before, clock.now());
    EXPECT_GT(before, 0ns);
}

TEST(ClockTest, CpuTimeGrowsWithWork) {
    Clock& clock = Clock::system();
    const Clock::Duration before = clock.cpuTime();
    while (clock.cpuTime() < before + 1ms) {
    }
    EXPECT_GE(clock.cpuTime(), before + 1ms);
}

TEST(ClockTest, CpuTimeCountsEveryThreadOfTheProcess) {
    Clock& clock = Clock::system();
    const Clock::Duration before = clock.cpuTime();
    std::thread worker{[&] {
        while (clock.cpuTime() < before + 2ms) {
        }
    }};
    worker.join();
    EXPECT_GE(clock.cpuTime(), before + 2ms);
}

TEST(ClockTest, SleepTakesAtLeastItsTime) {
    Clock& clock = Clock::system();
    const Clock::Duration before = clock.now();
    clock.sleepFor(1ms);
    EXPECT_GE(clock.now(), before + 1ms);
}

TEST(ClockTest, NegativeSleepReturns) {
    Clock::system().sleepFor(-1ms);
}

volatile std::sig_atomic_t alarms = 0;

TEST(ClockTest, SignalDoesNotShortenASleep) {
    struct sigaction handler {};
    struct sigaction former {};
    handler.sa_handler = [](int) { alarms = alarms + 1; };
    ASSERT_EQ(sigaction(SIGALRM, &handler, &former), 0);
    const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &everyMillisecond, nullptr), 0);

    Clock& clock = Clock::system();
    const Clock::Duration before = clock.now();
    clock.sleepFor(10ms);
    const Clock::Duration after = clock.now();

    const itimerval off{};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &former, nullptr);
    EXPECT_GT(alarms, 0);
    EXPECT_GE(after, before + 10ms);
}

TEST(ClockTest, WaitEndsWithItsTimeout) {
    Mutex mutex;
    std::condition_variable_any neverNotified;
    MutexLock lock{mutex};
    Clock::system().waitFor(neverNotified, lock, 1ms);
    EXPECT_FALSE(mutex.try_lock()) << "the lock is held again";
}

TEST(ClockTest, NotificationEndsTheLongestWait) {
    Mutex mutex;
    std::condition_variable_any condition;
    bool done = false;
    std::thread waiter{[&] {
        MutexLock lock{mutex};
        while (!done) {
            Clock::system().waitFor(condition, lock, Clock::Duration::max());
        }
    }};
    {
        const MutexLock lock{mutex};
        done = true;
    }
    condition.notify_all();
    waiter.join();
    EXPECT_TRUE(done);
}

} // namespace
