#include "cli/ValueParser.h"

#include "cli/Failure.h"
#include "tests/cli/SnapshotBuilder.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

tessapi::ChannelRecord channelOf(qz::datatype type, const std::string& unit = "",
                                 const qz::CMultistateMap& states = {}) {
    tessapi::ChannelRecord channel;
    channel.type = type;
    channel.unit = unit;
    channel.states = states;
    return channel;
}

std::string refusal(const std::string& text, const tessapi::ChannelRecord& channel) {
    try {
        parseValue(text, channel);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
        return failure.what();
    }
    return "taken";
}

TEST(ValueParserTest, MakesTheTypeOfTheChannel) {
    EXPECT_EQ(parseValue("-1", channelOf(qz::datatype::int32)), qz::CValue{-1});
    EXPECT_EQ(parseValue("30", channelOf(qz::datatype::uint32)), qz::CValue{30U});
    EXPECT_EQ(parseValue("1.5", channelOf(qz::datatype::float32)), qz::CValue{1.5F});
    EXPECT_EQ(parseValue("1.5", channelOf(qz::datatype::float64)), qz::CValue{1.5});
    EXPECT_EQ(parseValue("30", channelOf(qz::datatype::string)), qz::CValue{"30"});
    EXPECT_EQ(parseValue("7", channelOf(qz::datatype::int64)), qz::CValue{std::int64_t{7}});
    EXPECT_EQ(parseValue("7", channelOf(qz::datatype::uint64)), qz::CValue{std::uint64_t{7}});
}

TEST(ValueParserTest, TakesTheLabelOfAStateInAnyCase) {
    const auto channel = channelOf(qz::datatype::uint32, "", test::statesOf({{1, "disabled"}, {3, "muted"}}));
    EXPECT_EQ(parseValue("muted", channel), qz::CValue{3U});
    EXPECT_EQ(parseValue("Muted", channel), qz::CValue{3U});
    EXPECT_EQ(parseValue("1", channel), qz::CValue{1U});
}

TEST(ValueParserTest, MakesTheChannelsTypeFromALabelOfAnotherKindOfNumber) {
    qz::CMultistateMap states;
    states.add(qz::CValue{-1.0F}, "off");
    EXPECT_EQ(parseValue("off", channelOf(qz::datatype::int32, "s", states)), qz::CValue{-1});
}

TEST(ValueParserTest, TakesTheUnitBehindTheNumber) {
    const auto channel = channelOf(qz::datatype::int32, "s");
    EXPECT_EQ(parseValue("30 s", channel), qz::CValue{30});
    EXPECT_EQ(parseValue("30s", channel), qz::CValue{30});
    EXPECT_NE(refusal("s", channel), "taken");
    EXPECT_NE(refusal("30 V", channel), "taken");
}

TEST(ValueParserTest, TakesTheUsualWordsForABoolean) {
    const auto channel = channelOf(qz::datatype::boolean);
    for (const char* word : {"yes", "true", "on", "1", "Yes"}) {
        EXPECT_EQ(parseValue(word, channel), qz::CValue{true}) << word;
    }
    for (const char* word : {"no", "false", "off", "0"}) {
        EXPECT_EQ(parseValue(word, channel), qz::CValue{false}) << word;
    }
    EXPECT_EQ(refusal("maybe", channel), "\"maybe\" is not what is expected: yes or no");
}

TEST(ValueParserTest, SaysWhatIsExpected) {
    EXPECT_EQ(refusal("abc", channelOf(qz::datatype::float32, "V")),
              "\"abc\" is not what is expected: a number in V");
    EXPECT_EQ(refusal("1.5", channelOf(qz::datatype::int32, "s")),
              "\"1.5\" is not what is expected: a whole number in s");
    EXPECT_EQ(refusal("-1", channelOf(qz::datatype::uint32)),
              "\"-1\" is not what is expected: a whole number of 0 or more");
    EXPECT_EQ(
        refusal("loud", channelOf(qz::datatype::uint32, "", test::statesOf({{2, "enabled"}, {3, "muted"}}))),
        "\"loud\" is not what is expected: one of \"enabled\", \"muted\", or its number");
    EXPECT_EQ(refusal("x", channelOf(qz::datatype::timestamp)),
              "\"x\" is not what is expected: a value of the type timestamp, which cannot be written here");
}

TEST(ValueParserTest, TextKeepsItsEndAlsoWhenThatIsTheUnit) {
    EXPECT_EQ(parseValue("boxes", channelOf(qz::datatype::string, "s")), qz::CValue{std::string{"boxes"}});
}

TEST(ValueParserTest, GreatestNumberOfAStateIsExact) {
    auto channel = channelOf(qz::datatype::uint64);
    channel.states.add(qz::CValue{~std::uint64_t{0}}, "all");
    EXPECT_EQ(parseValue("all", channel), qz::CValue{~std::uint64_t{0}});
}

TEST(ValueParserTest, RefusesNumbersThatAreNone) {
    for (const char* text : {"", " 1", "1 ", "0x10", "nan", "inf", "1e99", "1,5"}) {
        EXPECT_NE(refusal(text, channelOf(qz::datatype::float32)), "taken") << text;
    }
    EXPECT_NE(refusal("2147483648", channelOf(qz::datatype::int32)), "taken");
    EXPECT_NE(refusal("4294967296", channelOf(qz::datatype::uint32)), "taken");
}

} // namespace
} // namespace velk::cli
