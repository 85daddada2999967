#include "cli/TimeText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace velk::cli {
namespace {

constexpr std::int64_t NOW = 1'700'000'000'000; // 2023-11-14 22:13:20 UTC

/// The tests know what local time is.
class TimeTextTest : public ::testing::Test {
protected:
    TimeTextTest() {
        setenv("TZ", "XXX-2", 1); // two hours east of Greenwich
        tzset();
    }
};

TEST_F(TimeTextTest, ProgramsGetUtcWithMilliseconds) {
    EXPECT_EQ(utcText(NOW + 7), "2023-11-14T22:13:20.007Z");
    EXPECT_EQ(utcText(0), "1970-01-01T00:00:00.000Z");
}

TEST_F(TimeTextTest, PeopleGetLocalTime) {
    EXPECT_EQ(localText(NOW), "2023-11-15 00:13:20");
    EXPECT_EQ(localClockText(NOW + 45), "00:13:20.045");
}

TEST_F(TimeTextTest, TheAgeIsInTheGreatestUnitOfWhichTwoHavePassed) {
    EXPECT_EQ(ageText(NOW, NOW), "just now");
    EXPECT_EQ(ageText(NOW - 1'999, NOW), "just now");
    EXPECT_EQ(ageText(NOW - 2'000, NOW), "2 s ago");
    EXPECT_EQ(ageText(NOW - 119'999, NOW), "119 s ago");
    EXPECT_EQ(ageText(NOW - 120'000, NOW), "2 min ago");
    EXPECT_EQ(ageText(NOW - 7'199'000, NOW), "119 min ago");
    EXPECT_EQ(ageText(NOW - 7'200'000, NOW), "2 h ago");
    EXPECT_EQ(ageText(NOW - 172'799'000, NOW), "47 h ago");
    EXPECT_EQ(ageText(NOW - 172'800'000, NOW), "2 d ago");
}

TEST_F(TimeTextTest, ATimeThatHasNotComeYetIsJustNowForAMinuteAndThenInTheFuture) {
    EXPECT_EQ(ageText(NOW + 60'000, NOW), "just now");
    EXPECT_EQ(ageText(NOW + 61'000, NOW), "61 s in the future");
    EXPECT_EQ(ageText(NOW + 3 * 3'600'000, NOW), "3 h in the future");
}

TEST_F(TimeTextTest, TimeAndAgeStandTogetherAndNeverIsNever) {
    EXPECT_EQ(timeAndAge(NOW - 180'000, NOW), "2023-11-15 00:10:20 (3 min ago)");
    EXPECT_EQ(timeAndAge(0, NOW), "never");
}

} // namespace
} // namespace velk::cli
