#include "cli/SinceText.h"

#include "cli/Failure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace velk::cli {
namespace {

class SinceTextTest : public ::testing::Test {
protected:
    static constexpr std::int64_t NOW_MS = 1'700'000'000'000; // 2023-11-14T22:13:20Z

    SinceTextTest() { zone("UTC"); }
    ~SinceTextTest() override { zone("UTC"); }

    static void zone(const char* name) {
        setenv("TZ", name, 1);
        tzset();
    }
};

TEST_F(SinceTextTest, SecondsMinutesHoursAndDaysAreBeforeNow) {
    EXPECT_EQ(sinceMs("90s", NOW_MS), NOW_MS - 90'000);
    EXPECT_EQ(sinceMs("15m", NOW_MS), NOW_MS - 900'000);
    EXPECT_EQ(sinceMs("1h", NOW_MS), NOW_MS - 3'600'000);
    EXPECT_EQ(sinceMs("2d", NOW_MS), NOW_MS - 172'800'000);
    EXPECT_EQ(sinceMs("0s", NOW_MS), NOW_MS);
    EXPECT_EQ(sinceMs("999999999d", NOW_MS), NOW_MS - 999'999'999LL * 86'400'000);
}

TEST_F(SinceTextTest, NothingIsEverything) {
    EXPECT_EQ(sinceMs("", NOW_MS), 0);
}

TEST_F(SinceTextTest, ATimeInUtcIsThatTime) {
    EXPECT_EQ(sinceMs("2023-11-14T22:13:20Z", 0), NOW_MS);
    EXPECT_EQ(sinceMs("2023-11-14T22:13:20.123Z", 0), NOW_MS + 123);
    EXPECT_EQ(sinceMs("2023-11-14T22:13:20.1Z", 0), NOW_MS + 100);
    EXPECT_EQ(sinceMs("2023-11-14T22:13:20.123987Z", 0), NOW_MS + 123);
    EXPECT_EQ(sinceMs("2023-11-14T22:13Z", 0), NOW_MS - 20'000);
}

TEST_F(SinceTextTest, ATimeOfTheDayIsTheLastOne) {
    EXPECT_EQ(sinceMs("22:13", NOW_MS), NOW_MS - 20'000);
    EXPECT_EQ(sinceMs("22:13:20", NOW_MS), NOW_MS);
    EXPECT_EQ(sinceMs("22:13:21", NOW_MS), NOW_MS - 86'399'000) << "of yesterday";
    EXPECT_EQ(sinceMs("02:30", NOW_MS), NOW_MS - 71'000'000);
    zone("UTC-3");
    EXPECT_EQ(sinceMs("01:13", NOW_MS), NOW_MS - 20'000);
}

TEST_F(SinceTextTest, AZoneCounts) {
    EXPECT_EQ(sinceMs("2023-11-14T23:13:20+01:00", 0), NOW_MS);
    EXPECT_EQ(sinceMs("2023-11-14T16:43:20-0530", 0), NOW_MS);
}

TEST_F(SinceTextTest, WithoutZoneItIsLocalTimeAlsoInTheFormThatTessPrints) {
    zone("UTC-3"); // three hours ahead
    EXPECT_EQ(sinceMs("2023-11-15 01:13:20", 0), NOW_MS);
    EXPECT_EQ(sinceMs("2023-11-15T01:13:20", 0), NOW_MS);
    EXPECT_EQ(sinceMs("2023-11-15", 0), NOW_MS - 4400 * 1000);
}

TEST_F(SinceTextTest, WhatIsNoTimeIsAUsageErrorThatSaysWhatIsExpected) {
    for (const char* text : {"soon", "1", "1w", "-1h", "1.5h", "h", " 1h", "1h ", "1000000000s",
                             "2023-11-14T", "2023-02-30", "2023-13-01", "2023-11-14T24:00",
                             "2023-11-14T22:60Z", "2023-11-14T22:13:20+1", "24:13", "2:13", "22:60"}) {
        try {
            sinceMs(text, NOW_MS);
            FAIL() << text;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
            EXPECT_EQ(failure.what(), "\"" + std::string{text} +
                                          "\" is no time; expected how long ago (90s, 15m, 1h, 2d) or a time "
                                          "such as 02:30, 2026-11-21T13:38:11Z or \"2026-11-21 13:38\"");
        }
    }
}

} // namespace
} // namespace velk::cli
