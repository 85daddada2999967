#include "daemon/history/AggregateRing.h"

#include "daemon/history/SampleRing.h"

#include <gtest/gtest.h>

#include <limits>

namespace velk::daemon {
namespace {

constexpr std::int64_t STEP = AggregateRing::STEP_MS;
constexpr std::int64_t BEGIN = 5'666'667 * STEP; ///< of a step

TEST(AggregateRingTest, EachValueCountsAsLongAsItLasted) {
    AggregateRing ring{true};
    ring.add(BEGIN, 100.0);
    ring.add(BEGIN + STEP / 2, 200.0);
    ring.add(BEGIN + STEP * 3 / 4, 0.0);
    ring.add(BEGIN + STEP, 50.0);
    const auto steps = ring.aggregates();
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[0], (Aggregate{BEGIN, BEGIN + STEP, 0.0, 100.0, 200.0, 0.0}));
}

TEST(AggregateRingTest, TheValueFromBeforeCountsInTheStepInWhichANewOneComes) {
    AggregateRing ring{true};
    ring.add(BEGIN - 1000, 10.0);
    ring.add(BEGIN + STEP / 2, 20.0);
    const auto steps = ring.aggregates();
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[1].least, 10.0);
    EXPECT_EQ(steps[1].greatest, 20.0);
    EXPECT_EQ(steps[1].mean, 10.0); // so far
    EXPECT_EQ(steps[1].endMs, BEGIN + STEP / 2);
}

TEST(AggregateRingTest, BeforeTheVeryFirstValueNothingIsKnownOfItsStep) {
    AggregateRing ring{true};
    ring.add(BEGIN + 1000, 10.0);
    EXPECT_EQ(ring.oldestMs(), BEGIN + 1000);
    ring.add(BEGIN + STEP, 20.0);
    EXPECT_EQ(ring.aggregates()[0], (Aggregate{BEGIN + 1000, BEGIN + STEP, 10.0, 10.0, 10.0, 10.0}));
}

TEST(AggregateRingTest, StepsInWhichNothingComesTakeNothing) {
    AggregateRing ring{true};
    ring.add(BEGIN, 10.0);
    ring.add(BEGIN + 1000 * STEP, 20.0);
    const std::size_t before = ring.heapBytes();
    ring.add(BEGIN + 1'000'000 * STEP, 30.0);
    const auto steps = ring.aggregates();
    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[0].last, 10.0);
    EXPECT_EQ(steps[1].beginMs, BEGIN + 1000 * STEP);
    EXPECT_LE(ring.heapBytes() - before, 24U);
}

TEST(AggregateRingTest, AStepOfFloatsTakes17BytesAndOneOfOtherNumbers33) {
    AggregateRing narrow{true};
    AggregateRing wide{false};
    for (int i = 0; i <= 2016; ++i) {
        narrow.add(BEGIN + i * STEP, i);
        wide.add(BEGIN + i * STEP, i);
    }
    EXPECT_LE(narrow.heapBytes(), 2016U * 17 * 9 / 8 + 64);
    EXPECT_LE(wide.heapBytes(), 2016U * 33 * 9 / 8 + 64);
}

TEST(AggregateRingTest, ATimeInWhichNobodyKnowsDoesNotCount) {
    AggregateRing ring{false};
    ring.add(BEGIN, 10.0);
    ring.add(BEGIN + STEP / 4, std::nullopt);
    ring.add(BEGIN + STEP / 2, 30.0);
    ring.add(BEGIN + STEP * 3 / 4, std::nullopt);
    ring.add(BEGIN + 2 * STEP, 5.0);
    const auto steps = ring.aggregates();
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[0].mean, 20.0);
    EXPECT_FALSE(steps[0].last);
    EXPECT_EQ(steps[1].least, 5.0);
}

TEST(AggregateRingTest, AClockThatIsSetBackBeginsAnEarlierStepOnceMore) {
    AggregateRing ring{true};
    ring.add(BEGIN + 10 * STEP, 1.0);
    ring.add(BEGIN + 10 * STEP + 1000, 2.0);
    ring.add(BEGIN, 3.0);
    ring.add(BEGIN - 1, 4.0);
    ring.add(BEGIN + STEP, 5.0);
    const auto steps = ring.aggregates();
    ASSERT_EQ(steps.size(), 4U);
    EXPECT_EQ(steps[0].beginMs, BEGIN + 10 * STEP);
    EXPECT_EQ(steps[1], (Aggregate{BEGIN, BEGIN + STEP, 3.0, 3.0, 3.0, 3.0}));
    EXPECT_EQ(steps[2].beginMs, BEGIN - STEP);
    EXPECT_EQ(steps[3].beginMs, BEGIN + STEP);
}

TEST(AggregateRingTest, AClockThatIsSetBackWithinAStepLosesNothing) {
    AggregateRing ring{false};
    ring.add(BEGIN + 1000, 1.0);
    ring.add(BEGIN + 2000, 3.0);
    ring.add(BEGIN + 500, 7.0);
    ring.add(BEGIN + 1500, 5.0);
    const auto steps = ring.aggregates();
    EXPECT_EQ(steps[0].least, 1.0);
    EXPECT_EQ(steps[0].greatest, 7.0);
    EXPECT_EQ(steps[0].mean, 4.0); // a second of 1 and one of 7
}

TEST(AggregateRingTest, OldStepsGo) {
    AggregateRing ring{true};
    for (int i = 0; i < 100; ++i) {
        ring.add(BEGIN + i * STEP, i);
    }
    ring.dropBefore(BEGIN + 90 * STEP + 1);
    auto steps = ring.aggregates();
    ASSERT_EQ(steps.size(), 10U);
    EXPECT_EQ(steps[0].beginMs, BEGIN + 90 * STEP);
    EXPECT_EQ(steps[0].last, 90.0);
    EXPECT_EQ(ring.oldestMs(), BEGIN + 90 * STEP);
    ring.dropBefore(BEGIN + 1000 * STEP);
    steps = ring.aggregates();
    ASSERT_EQ(steps.size(), 1U);
    EXPECT_EQ(steps[0].last, 99.0);
    ring.add(BEGIN + 101 * STEP, 101.0);
    EXPECT_EQ(ring.aggregates()[0].beginMs, BEGIN + 99 * STEP);
}

TEST(AggregateRingTest, WhatIsSavedComesBackAndGoesOn) {
    AggregateRing ring{false};
    for (int i = 0; i < 20; ++i) {
        ring.add(BEGIN + i * STEP * 3 / 2, i * 1.25);
    }
    ring.dropBefore(BEGIN + 10 * STEP);
    ByteVector file;
    ring.save(file);
    AggregateRing loaded{false};
    ByteReader reader{viewOf(file, 0)};
    loaded.load(reader);
    EXPECT_EQ(loaded.aggregates(), ring.aggregates());
    ring.add(BEGIN + 40 * STEP, 1.0);
    loaded.add(BEGIN + 40 * STEP, 1.0);
    EXPECT_EQ(loaded.aggregates(), ring.aggregates());
    for (std::size_t size = 0; size < file.size(); ++size) {
        ByteReader cut{viewOf(file, 0).substr(0, size)};
        EXPECT_THROW(loaded.load(cut), std::runtime_error) << size;
    }
    EXPECT_EQ(loaded.aggregates(), ring.aggregates());
}

TEST(AggregateRingTest, NumbersBeyondAllSenseAreRefused) {
    constexpr std::int64_t wild = std::numeric_limits<std::int64_t>::min();
    const auto file = [](std::int64_t front, std::int64_t first, std::int64_t second, std::int64_t timeMs) {
        ByteVector steps;
        for (const std::int64_t step : {first, second}) {
            putVarint(steps, zigzag(step));
            steps.resize(steps.size() + 4 * sizeof(float));
        }
        ByteVector bytes;
        putVarint(bytes, 2);
        putVarint(bytes, zigzag(front));
        putText(bytes, viewOf(steps, 0));
        bytes.push_back(1);
        for (const std::int64_t number : {timeMs, std::int64_t{0}, timeMs, std::int64_t{0}}) {
            putVarint(bytes, zigzag(number));
        }
        bytes.resize(bytes.size() + 4 * sizeof(double) + 1);
        return bytes;
    };
    const auto loads = [](const ByteVector& bytes) {
        AggregateRing ring{true};
        ByteReader reader{viewOf(bytes, 0)};
        ring.load(reader);
    };
    EXPECT_NO_THROW(loads(file(5, 1, 1, BEGIN)));
    EXPECT_THROW(loads(file(wild, 1, 1, BEGIN)), std::runtime_error);
    EXPECT_THROW(loads(file(5, wild, 1, BEGIN)), std::runtime_error);
    EXPECT_THROW(loads(file(5, 1, wild, BEGIN)), std::runtime_error);
    EXPECT_THROW(loads(file(5, 1, 1, wild)), std::runtime_error);
}

} // namespace
} // namespace velk::daemon
