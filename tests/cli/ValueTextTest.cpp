#include "cli/ValueText.h"

#include "tests/cli/SnapshotBuilder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

tessapi::ChannelRecord channelOf(const std::string& unit, const qz::CMultistateMap& states = {}) {
    tessapi::ChannelRecord channel;
    channel.unit = unit;
    channel.states = states;
    return channel;
}

TEST(ValueTextTest, ANumberComesWithItsUnitInItsShortestForm) {
    EXPECT_EQ(displayText(qz::CValue{230.1F}, channelOf("V")), "230.1 V");
    EXPECT_EQ(displayText(qz::CValue{-1}, channelOf("s")), "-1 s");
    EXPECT_EQ(displayText(qz::CValue{0.95F}, channelOf("")), "0.95");
}

TEST(ValueTextTest, AStateComesWithItsLabelAndANumberWithoutLabelAsItself) {
    const auto channel = channelOf("", test::statesOf({{2, "on line"}, {3, "on battery"}}));
    EXPECT_EQ(displayText(qz::CValue{3U}, channel), "on battery");
    EXPECT_EQ(displayText(qz::CValue{7U}, channel), "7");
}

TEST(ValueTextTest, AStateThatTheChannelDoesNotNameHasTheNameOfTheCatalogue) {
    tessapi::ChannelRecord channel;
    channel.states = test::statesOf({{7, "On forced bypass"}});
    channel.commonStates = test::statesOf({{2, "on line"}, {7, "on forced bypass"}});
    EXPECT_EQ(displayText(qz::CValue{2U}, channel), "on line");
    EXPECT_EQ(displayText(qz::CValue{7U}, channel), "On forced bypass");
    EXPECT_EQ(displayText(qz::CValue{9U}, channel), "9");
}

TEST(ValueTextTest, ADelayOfMinusOneSecondIsNoneForPeopleOnly) {
    tessapi::ChannelRecord delay = channelOf("s");
    delay.name = "PowerDistribution.Setting.AutomaticSwitchOffDelay";
    EXPECT_EQ(displayText(qz::CValue{-1}, delay), "none");
    EXPECT_EQ(displayText(qz::CValue{0}, delay), "0 s");
    EXPECT_EQ(displayText(qz::CValue{-2}, delay), "-2 s");
    EXPECT_EQ(jsonOf(qz::CValue{-1}).dump(), "-1");
}

TEST(ValueTextTest, ABooleanIsYesOrNoAndAMissingValueADash) {
    EXPECT_EQ(displayText(qz::CValue{true}, channelOf("")), "yes");
    EXPECT_EQ(displayText(qz::CValue{false}, channelOf("")), "no");
    EXPECT_EQ(displayText(qz::CValue{}, channelOf("V")), "-");
}

TEST(ValueTextTest, ATextHasNoUnit) {
    EXPECT_EQ(displayText(qz::CValue{"abc"}, channelOf("V")), "abc");
}

TEST(ValueTextTest, ATextOfADeviceCannotPaintTheTerminal) {
    EXPECT_EQ(displayText(qz::CValue{"a\033[31mb\n"}, channelOf("")), "a?[31mb?");
}

TEST(ValueTextTest, PlainTextIsTheStoresOwnNotation) {
    EXPECT_EQ(plainText(qz::CValue{true}), "true");
    EXPECT_EQ(plainText(qz::CValue{30}), "30");
    EXPECT_EQ(plainText(qz::CValue{230.1F}), "230.1");
}

TEST(ValueTextTest, JsonKeepsNumbersAsNumbersInTheirShortestForm) {
    EXPECT_EQ(jsonOf(qz::CValue{230.1F}).dump(), "230.1");
    EXPECT_EQ(jsonOf(qz::CValue{-1}).dump(), "-1");
    EXPECT_EQ(jsonOf(qz::CValue{~std::uint64_t{0}}).dump(), "18446744073709551615");
    EXPECT_EQ(jsonOf(qz::CValue{true}).dump(), "true");
    EXPECT_EQ(jsonOf(qz::CValue{"a\"b"}).dump(), "\"a\\\"b\"");
}

TEST(ValueTextTest, JsonHasNullForAMissingValueAndForWhatItCannotSay) {
    EXPECT_TRUE(jsonOf(qz::CValue{}).is_null());
    EXPECT_TRUE(jsonOf(qz::CValue{std::numeric_limits<float>::infinity()}).is_null());
    EXPECT_TRUE(jsonOf(qz::CValue{std::numeric_limits<double>::quiet_NaN()}).is_null());
}

TEST(ValueTextTest, JsonHasTimestampsInUtc) {
    EXPECT_EQ(jsonOf(qz::CValue{qz::CTimestamp{1'700'000'000, "%F"}}), "2023-11-14T22:13:20.000Z");
}

} // namespace
} // namespace velk::cli
