#include "platform/common/UnixTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <sstream>

namespace {

using conv::UnixTime;

struct Example {
    std::uint32_t seconds;
    const char* text;
};

void PrintTo(const Example& example, std::ostream* stream) {
    *stream << example.text;
}

class UnixTimeTextTest : public testing::TestWithParam<Example> {};

TEST_P(UnixTimeTextTest, IsUtcOfExactlyTwentyFourCharacters) {
    const UnixTime time{GetParam().seconds};
    EXPECT_EQ(time.toIso8601(), GetParam().text);
    EXPECT_EQ(time.toIso8601().size(), 24U);
    std::ostringstream stream;
    stream << time;
    EXPECT_EQ(stream.str(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Times, UnixTimeTextTest,
                         testing::Values(Example{0, "1970-01-01T00:00:00.000Z"},
                                         Example{951782400, "2000-02-29T00:00:00.000Z"},
                                         Example{1706704496, "2024-01-31T12:34:56.000Z"},
                                         Example{1709164799, "2024-02-28T23:59:59.000Z"},
                                         Example{1709164800, "2024-02-29T00:00:00.000Z"},
                                         Example{2147483648U, "2038-01-19T03:14:08.000Z"},
                                         Example{4294967295U, "2106-02-07T06:28:15.000Z"}));

TEST(UnixTimeTest, TextDoesNotFollowTheTimeZoneOfTheMachine) {
    setenv("TZ", "Asia/Tokyo", 1);
    tzset();
    EXPECT_EQ(UnixTime{1706704496}.toIso8601(), "2024-01-31T12:34:56.000Z");
    unsetenv("TZ");
    tzset();
}

TEST(UnixTimeTest, BeginsWithTheEpochAndKeepsItsSeconds) {
    EXPECT_EQ(UnixTime{}.toIntegralType(), 0U);
    EXPECT_EQ(UnixTime{4294967295U}.toIntegralType(), 4294967295U);
}

TEST(UnixTimeTest, OrderIsThatOfTime) {
    EXPECT_LT(UnixTime{1}, UnixTime{2147483648U});
    EXPECT_EQ(UnixTime{7}, UnixTime{7});
}

TEST(UnixTimeTest, NowIsTheWallClock) {
    const auto before = static_cast<std::uint32_t>(std::time(nullptr));
    const std::uint32_t now = UnixTime::now().toIntegralType();
    const auto after = static_cast<std::uint32_t>(std::time(nullptr));
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
}

} // namespace
