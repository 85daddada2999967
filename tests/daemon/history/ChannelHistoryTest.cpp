#include "daemon/history/ChannelHistory.h"

#include <gtest/gtest.h>

#include <limits>

namespace velk::daemon {
namespace {

constexpr std::int64_t NOON = 1'700'049'600'000; ///< begins a five-minute step
constexpr std::int64_t SECOND = 1000;
constexpr std::int64_t MINUTE = 60 * SECOND;
constexpr std::int64_t HOUR = 60 * MINUTE;
constexpr std::int64_t DAY = 24 * HOUR;

class NumberHistoryTest : public ::testing::Test {
protected:
    bool add(std::int64_t timeMs, float value) { return history.add(timeMs, qz::CValue{value}, {}); }
    void addUnknown(std::int64_t timeMs) { history.add(timeMs, {}, {}); }

    HistorySlice slice(std::int64_t fromMs, std::int64_t toMs, std::size_t columns) const {
        return history.slice(fromMs, toMs, columns);
    }

    ChannelHistory history{HistoryKind::number, qz::datatype::float32};
};

TEST_F(NumberHistoryTest, AnUnchangedValueIsNothingNew) {
    EXPECT_TRUE(add(NOON, 5.0F));
    EXPECT_FALSE(add(NOON + 1, 5.0F));
    EXPECT_TRUE(add(NOON + 2, 6.0F));
    EXPECT_EQ(history.newestMs(), NOON + 2);
}

TEST_F(NumberHistoryTest, ColumnsHaveLeastMeanGreatestAndLast) {
    add(NOON, 10.0F);
    add(NOON + 15 * SECOND, 20.0F);
    add(NOON + 45 * SECOND, 0.0F);
    const HistorySlice told = slice(NOON, NOON + MINUTE, 2);
    ASSERT_EQ(told.columns.size(), 2U);
    EXPECT_EQ(told.columns[0], (HistoryColumn{10.0, 15.0, 20.0, 20.0}));
    EXPECT_EQ(told.columns[1], (HistoryColumn{0.0, 10.0, 20.0, 0.0}));
    EXPECT_EQ(told.whole, (HistoryColumn{0.0, 12.5, 20.0, 0.0}));
}

TEST_F(NumberHistoryTest, AValueFromBeforeLastsIntoTheTimeAskedFor) {
    add(NOON - DAY, 7.0F);
    const HistorySlice told = slice(NOON, NOON + HOUR, 3);
    for (const auto& column : told.columns) {
        EXPECT_EQ(column, (HistoryColumn{7.0, 7.0, 7.0, 7.0}));
    }
    EXPECT_EQ(told.oldestMs, NOON - DAY);
}

TEST_F(NumberHistoryTest, BeforeTheFirstValueAndInAGapNobodyKnows) {
    add(NOON + 10 * SECOND, 7.0F);
    addUnknown(NOON + 20 * SECOND);
    add(NOON + 30 * SECOND, 8.0F);
    const HistorySlice told = slice(NOON, NOON + 40 * SECOND, 4);
    EXPECT_FALSE(told.columns[0]);
    EXPECT_EQ(told.columns[1]->last, 7.0);
    EXPECT_FALSE(told.columns[2]);
    EXPECT_EQ(told.columns[3]->last, 8.0);
    EXPECT_EQ(told.whole->mean, 7.5);
}

TEST_F(NumberHistoryTest, AfterAnHourTheStepsOfFiveMinutesTell) {
    // Once a second, each five minutes ten more, with a tip in the middle.
    for (std::int64_t second = 0; second < 3 * 3600; ++second) {
        const auto step = static_cast<float>(second / 300 * 10);
        add(NOON + second * SECOND, step + (second % 300 == 150 ? 5.0F : second % 2 == 0 ? 0.0F : 1.0F));
    }
    const HistorySlice told = slice(NOON, NOON + 3 * HOUR, 36);
    for (std::size_t i = 0; i < 36; ++i) {
        ASSERT_TRUE(told.columns[i]) << i;
        const double base = static_cast<double>(i) * 10.0;
        EXPECT_EQ(told.columns[i]->greatest, base + 5.0) << i;
        EXPECT_NEAR(told.columns[i]->mean, base + 0.5, 0.05) << i;
        EXPECT_EQ(told.columns[i]->last, base + 1.0) << i;
    }
    EXPECT_EQ(told.oldestMs, NOON);
}

TEST_F(NumberHistoryTest, AfterSevenDaysNothingIsKnownAnyMore) {
    for (std::int64_t hour = 0; hour <= 9 * 24; ++hour) {
        add(NOON + hour * HOUR, static_cast<float>(hour));
    }
    const HistorySlice told = slice(NOON, NOON + 9 * DAY, 9);
    EXPECT_FALSE(told.columns[0]);
    EXPECT_FALSE(told.columns[1]);
    EXPECT_EQ(told.columns[2]->least, 48.0);
    EXPECT_EQ(told.columns[8]->last, 216.0);
    EXPECT_EQ(told.oldestMs, NOON + 2 * DAY);
}

TEST_F(NumberHistoryTest, AWeekOfChangesEverySecondStaysBelow70KiB) {
    for (std::int64_t second = 0; second < 7 * 86'400; ++second) {
        add(NOON + second * SECOND, static_cast<float>(second));
    }
    EXPECT_LT(history.heapBytes(), 70U * 1024);
    EXPECT_EQ(history.oldestMs(), NOON);
}

TEST_F(NumberHistoryTest, ANumberThatNeverChangedTakesAlmostNothing) {
    add(NOON, 1.0F);
    EXPECT_LE(history.heapBytes(), 24U);
}

TEST_F(NumberHistoryTest, AClockThatJumpsBreaksNothing) {
    add(NOON, 1.0F);
    add(NOON + DAY, 2.0F);
    add(NOON + SECOND, 3.0F);
    add(0, 4.0F);
    add(NOON + MINUTE, 6.0F);
    const HistorySlice told = slice(NOON, NOON + 2 * MINUTE, 2);
    EXPECT_TRUE(told.columns[0]);
    EXPECT_EQ(told.columns[1]->last, 6.0);
    add(NOON + 2 * MINUTE, 7.0F);
    EXPECT_EQ(slice(NOON + 2 * MINUTE, NOON + 3 * MINUTE, 1).columns[0]->last, 7.0);
    add(std::numeric_limits<std::int64_t>::max(), 8.0F);
    add(NOON + 4 * MINUTE, 9.0F);
    EXPECT_EQ(slice(NOON + 4 * MINUTE, NOON + 5 * MINUTE, 1).columns[0]->last, 9.0);
}

TEST_F(NumberHistoryTest, WhatIsNoNumberOrNoLengthOfTimeIsNothing) {
    add(NOON, std::numeric_limits<float>::infinity());
    EXPECT_FALSE(slice(NOON, NOON + HOUR, 1).columns[0]);
    add(NOON + 1, std::numeric_limits<float>::quiet_NaN());
    add(NOON + 2, 5.0F);
    EXPECT_EQ(slice(NOON, NOON + HOUR, 1).columns[0]->mean, 5.0);
    EXPECT_FALSE(slice(NOON, NOON, 1).columns[0]);
    EXPECT_FALSE(slice(NOON, NOON - HOUR, 1).whole);
}

TEST_F(NumberHistoryTest, WhatIsSavedComesBack) {
    for (std::int64_t second = 0; second < 2 * 3600; second += 7) {
        add(NOON + second * SECOND, static_cast<float>(second % 100));
    }
    ByteVector file;
    history.save(file);
    ChannelHistory loaded{HistoryKind::number, qz::datatype::float32};
    ByteReader reader{viewOf(file, 0)};
    loaded.load(reader);
    const HistorySlice was = slice(NOON, NOON + 2 * HOUR, 100);
    const HistorySlice is = loaded.slice(NOON, NOON + 2 * HOUR, 100);
    EXPECT_EQ(is.columns, was.columns);
    EXPECT_FALSE(loaded.add(NOON + 2 * HOUR, qz::CValue{static_cast<float>(7196 % 100)}, {}));
}

TEST(StateHistoryTest, ChangesOfSevenDaysAndWhatWasBefore) {
    ChannelHistory history{HistoryKind::state, qz::datatype::uint32};
    for (std::uint32_t i = 0; i < 100; ++i) {
        history.add(NOON + i * HOUR, qz::CValue{i % 3}, {});
    }
    const HistorySlice told = history.slice(NOON + HOUR / 2, NOON + 2 * HOUR, 100);
    const std::vector<Sample> expected{
        {NOON, qz::CValue{0U}}, {NOON + HOUR, qz::CValue{1U}}, {NOON + 2 * HOUR, qz::CValue{2U}}};
    EXPECT_EQ(told.changes, expected);
    EXPECT_EQ(told.leftOut, 0U);
    history.add(NOON + 10 * DAY, qz::CValue{9U}, {});
    EXPECT_EQ(history.oldestMs(), NOON + 3 * DAY);
}

TEST(StateHistoryTest, OfMoreChangesThanWantedTheNewestAreGiven) {
    ChannelHistory history{HistoryKind::text, qz::datatype::string};
    for (int i = 0; i < 10; ++i) {
        history.add(NOON + i, qz::CValue{std::to_string(i)}, {});
    }
    const HistorySlice told = history.slice(NOON, NOON + HOUR, 3);
    ASSERT_EQ(told.changes.size(), 3U);
    EXPECT_EQ(told.changes.front().value, qz::CValue{"7"});
    EXPECT_EQ(told.leftOut, 7U);
}

} // namespace
} // namespace velk::daemon
