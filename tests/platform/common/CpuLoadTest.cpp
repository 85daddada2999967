#include "platform/common/CpuLoadCooldown.h"
#include "platform/common/CpuLoadRegulator.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using velk::common::Clock;
using velk::common::sched::CpuLoadCooldown;
using velk::common::sched::CpuLoadRegulator;
using velk::testing::FakeClock;
using namespace std::chrono_literals;
using Durations = std::vector<Clock::Duration>;

TEST(CpuLoadRegulatorTest, PauseBringsTheLoadDownToItsShare) {
    CpuLoadRegulator regulator{10, 10000};
    regulator.begin(100s, 7s);
    EXPECT_EQ(regulator.pause(100s + 60ms, 7s + 50ms), 440ms);
}

TEST(CpuLoadRegulatorTest, LoadOfAllThreadsCountsAgainstOneCore) {
    CpuLoadRegulator regulator{50, 10000};
    regulator.begin(0s, 0s);
    EXPECT_EQ(regulator.pause(100ms, 400ms), 700ms);
}

TEST(CpuLoadRegulatorTest, PauseIsNeverShorterThanTwentyMilliseconds) {
    CpuLoadRegulator regulator{10, 1000};
    regulator.begin(0s, 0s);
    EXPECT_EQ(regulator.pause(0s, 0s), 20ms);
    EXPECT_EQ(regulator.pause(1s, 1ms), 20ms);
    EXPECT_EQ(regulator.pause(1ms, 2ms), 20ms);
    EXPECT_EQ(regulator.pause(1ms, 2200us), 21ms);
}

TEST(CpuLoadRegulatorTest, ShorterLongestRestIsAlsoTheShortest) {
    CpuLoadRegulator regulator{10, 5};
    regulator.begin(0s, 0s);
    EXPECT_EQ(regulator.pause(1s, 0s), 5ms);
    EXPECT_EQ(regulator.pause(1s, 10s), 5ms);
    CpuLoadRegulator restless{10, 0};
    restless.begin(0s, 0s);
    EXPECT_EQ(restless.pause(0s, 10s), 0ms);
}

TEST(CpuLoadRegulatorTest, PauseIsNeverLongerThanTheLongestRest) {
    CpuLoadRegulator regulator{10, 1000};
    regulator.begin(0s, 0s);
    EXPECT_EQ(regulator.pause(1ms, 10h), 1000ms);
}

TEST(CpuLoadRegulatorTest, LoadIsClampedToOneToAHundred) {
    CpuLoadRegulator none{0, 100000};
    none.begin(0s, 0s);
    EXPECT_EQ(none.pause(0s, 30ms), 3000ms);
    CpuLoadRegulator excess{4294967295U, 100000};
    excess.begin(0s, 0s);
    EXPECT_EQ(excess.pause(0s, 30ms), 30ms);
}

TEST(CpuLoadCooldownTest, RestsOnItsClockForAsLongAsTheLoadRequires) {
    FakeClock clock;
    CpuLoadCooldown cooldown{10, 1000, clock};
    cooldown.begin();
    clock.setCpuTime(50ms);
    clock.advance(60ms);
    const Clock::Duration before = clock.now();
    cooldown.rest();
    EXPECT_EQ(clock.now(), before + 440ms);
    EXPECT_EQ(clock.waits(), (Durations{440ms}));
}

TEST(CpuLoadCooldownTest, EachRestCountsFromTheOneBefore) {
    FakeClock clock;
    CpuLoadCooldown cooldown{10, 1000, clock};
    cooldown.begin();
    clock.setCpuTime(50ms);
    cooldown.rest();
    cooldown.rest();
    clock.setCpuTime(60ms);
    cooldown.rest();
    EXPECT_EQ(clock.waits(), (Durations{500ms, 20ms, 100ms}));
}

TEST(CpuLoadCooldownTest, BeginForgetsWhatWasUsedBefore) {
    FakeClock clock;
    CpuLoadCooldown cooldown{10, 1000, clock};
    clock.setCpuTime(10s);
    cooldown.begin();
    cooldown.rest();
    EXPECT_EQ(clock.waits(), (Durations{20ms}));
}

TEST(CpuLoadCooldownTest, WorkDuringARestCountsForTheNext) {
    FakeClock clock{FakeClock::Passing::ByHand};
    CpuLoadCooldown cooldown{10, 1000, clock};
    cooldown.begin();
    std::thread resting{[&] {
        cooldown.rest();
        cooldown.rest();
    }};
    clock.awaitBlocked(1);
    clock.setCpuTime(30ms);
    clock.advance(20ms);
    clock.awaitBlocked(1);
    clock.advance(300ms);
    resting.join();
    EXPECT_EQ(clock.waits(), (Durations{20ms, 300ms}));
}

TEST(CpuLoadCooldownTest, InterruptEndsARunningRest) {
    FakeClock clock{FakeClock::Passing::ByHand};
    CpuLoadCooldown cooldown{1, 1000, clock};
    cooldown.begin();
    clock.setCpuTime(1h);
    std::thread resting{[&] { cooldown.rest(); }};
    clock.awaitBlocked(1);
    cooldown.interrupt();
    resting.join();
    EXPECT_EQ(clock.waits(), (Durations{1000ms}));
}

TEST(CpuLoadCooldownTest, InterruptWithoutARunningRestEndsTheNextOnly) {
    FakeClock clock;
    CpuLoadCooldown cooldown{10, 1000, clock};
    cooldown.begin();
    cooldown.interrupt();
    cooldown.rest();
    EXPECT_EQ(clock.waits(), (Durations{}));
    cooldown.rest();
    EXPECT_EQ(clock.waits(), (Durations{20ms}));
}

TEST(CpuLoadCooldownTest, LongestRestOfNothingDoesNotWait) {
    FakeClock clock;
    CpuLoadCooldown cooldown{10, 0, clock};
    cooldown.begin();
    clock.setCpuTime(1h);
    cooldown.rest();
    EXPECT_EQ(clock.waits(), (Durations{}));
}

} // namespace
