#include "platform/common/lwjson/Deserializer.h"
#include "platform/common/lwjson/JsonError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using velk::common::lwjson::Deserializer;

/// What a bad text is refused with.
std::string refusal(const std::string& json) {
    try {
        const Deserializer accepted{json};
        return "accepted " + accepted.root().text();
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
}

/// `position` is that of the byte at which the reader could not go on.
struct BadText {
    std::string json;
    std::string position;
};

void PrintTo(const BadText& example, std::ostream* stream) {
    *stream << example.position;
}

class BadTextTest : public testing::TestWithParam<BadText> {};

TEST_P(BadTextTest, IsRefusedWithLineAndColumn) {
    EXPECT_THAT(refusal(GetParam().json), StartsWith(GetParam().position + ": ")) << GetParam().json;
}

INSTANTIATE_TEST_SUITE_P(
    EmptyAndCutOff, BadTextTest,
    testing::Values(BadText{"", "line 1, column 1"}, BadText{"  \n ", "line 2, column 2"},
                    BadText{"{", "line 1, column 2"}, BadText{"[1,", "line 1, column 4"},
                    BadText{"[1", "line 1, column 3"}, BadText{"{\"a\"", "line 1, column 5"},
                    BadText{"{\"a\":", "line 1, column 6"}, BadText{"\"abc", "line 1, column 5"},
                    BadText{"tru", "line 1, column 4"}, BadText{"-", "line 1, column 2"},
                    BadText{"1.", "line 1, column 3"}, BadText{"\xEF\xBB\xBF", "line 1, column 4"}));

INSTANTIATE_TEST_SUITE_P(Trailing, BadTextTest,
                         testing::Values(BadText{"{} x", "line 1, column 4"},
                                         BadText{"1 2", "line 1, column 4"},
                                         BadText{"[]]", "line 1, column 3"},
                                         BadText{"{},", "line 1, column 3"},
                                         BadText{std::string{"{}\n\0", 4}, "line 2, column 1"},
                                         BadText{std::string{"{}\0{", 4}, "line 1, column 3"}));

INSTANTIATE_TEST_SUITE_P(
    Malformed, BadTextTest,
    testing::Values(BadText{"[1,]", "line 1, column 4"}, BadText{"{\"a\":1,}", "line 1, column 8"},
                    BadText{"[1 ?2]", "line 1, column 4"}, BadText{"{\"a\" ?1}", "line 1, column 6"},
                    BadText{"{a:1}", "line 1, column 2"}, BadText{"{1:1}", "line 1, column 3"},
                    BadText{"['a']", "line 1, column 2"}, BadText{"\n\n  nul?", "line 3, column 6"},
                    BadText{"[True]", "line 1, column 2"}, BadText{"NaN", "line 1, column 1"},
                    BadText{"// c\n1", "line 1, column 1"}, BadText{"[1}", "line 1, column 3"},
                    BadText{"[+1]", "line 1, column 2"}, BadText{"[01]", "line 1, column 4"},
                    BadText{"[.5]", "line 1, column 2"}, BadText{"[1.e5]", "line 1, column 4"},
                    BadText{"[1e+]", "line 1, column 5"}, BadText{"[0x1]", "line 1, column 3"},
                    BadText{"[" + std::string(300, '1') + ".]", "line 1, column 303"},
                    BadText{"[0" + std::string(300, '1') + "]", "line 1, column 303"}));

INSTANTIATE_TEST_SUITE_P(
    Strings, BadTextTest,
    testing::Values(BadText{"[\"a\nb\"]", "line 1, column 4"}, BadText{"\"\\x\"", "line 1, column 3"},
                    BadText{"\"\\u12g4\"", "line 1, column 6"}, BadText{"\"\\ud800\"", "line 1, column 8"},
                    BadText{"\"\\ude00\"", "line 1, column 7"}, BadText{"\"\xFF\"", "line 1, column 2"},
                    BadText{"\"\xC3\x28\"", "line 1, column 3"}, BadText{"\"\xC0\x80\"", "line 1, column 2"},
                    BadText{"\"\xED\xA0\x80\"", "line 1, column 3"},
                    BadText{"\"\xF4\x90\x80\x80\"", "line 1, column 3"},
                    BadText{"{\"\xE2\x82\": 1}", "line 1, column 5"},
                    BadText{std::string{"\"a\0b\"", 5}, "line 1, column 3"}));

TEST(DeserializerErrorTest, MessageSaysWhatWasExpected) {
    EXPECT_THAT(refusal("{\n  \"a\" 1\n}"), StartsWith("line 2, column 8: "));
    EXPECT_THAT(refusal("{\n  \"a\" 1\n}"), HasSubstr("expected ':'"));
    EXPECT_THAT(refusal(""), HasSubstr("unexpected end of input"));
    EXPECT_THAT(refusal("{}\n?"), HasSubstr("expected end of input"));
    EXPECT_THAT(refusal("\"\xFF\""), HasSubstr("UTF-8"));
    EXPECT_EQ(refusal(std::string{"1\0", 2}), "line 1, column 2: unexpected NUL byte");
}

TEST(DeserializerErrorTest, MessageHasItsPositionOnlyOnce) {
    EXPECT_THAT(refusal("["), testing::Not(HasSubstr("parse error at")));
    EXPECT_THAT(refusal("["), testing::Not(HasSubstr("json.exception")));
}

TEST(DeserializerErrorTest, FailureTellsItsPlaceApartFromItsReason) {
    try {
        const Deserializer json{std::string{"1\n\0", 3}};
        FAIL() << "no exception";
    } catch (const velk::common::lwjson::JsonError& failure) {
        EXPECT_EQ(failure.position().line, 2U);
        EXPECT_EQ(failure.position().column, 1U);
        EXPECT_EQ(failure.reason(), "unexpected NUL byte");
        EXPECT_STREQ(failure.what(), "line 2, column 1: unexpected NUL byte");
    }
}

TEST(DeserializerErrorTest, DeeperNestingThanTheLimitIsRefused) {
    const std::size_t depth = Deserializer::MAX_DEPTH;
    EXPECT_EQ(refusal(std::string(depth + 1, '[') + std::string(depth + 1, ']')),
              "line 1, column 65: nested deeper than 64 levels");
    std::string objects;
    for (std::size_t i = 0; i <= depth; ++i) {
        objects += "{\"a\":\n";
    }
    EXPECT_EQ(refusal(objects), "line 65, column 1: nested deeper than 64 levels");
    EXPECT_EQ(refusal(std::string(1000000, '[')), "line 1, column 65: nested deeper than 64 levels");
}

TEST(DeserializerErrorTest, SiblingsDoNotCountAsNesting) {
    std::string siblings = "[0";
    for (int i = 0; i < 1000; ++i) {
        siblings += ",[{}]";
    }
    EXPECT_EQ(Deserializer{siblings + "]"}.members().size(), 1001U);
}

} // namespace
