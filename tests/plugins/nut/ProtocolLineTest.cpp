#include "plugins/nut/ProtocolLine.h"

#include "plugins/nut/LinkError.h"

#include <gtest/gtest.h>

namespace velk::nut {
namespace {

using Words = std::vector<std::string>;

TEST(ProtocolLineTest, WordsStandBetweenBlanks) {
    EXPECT_EQ(splitLine("BEGIN  LIST VAR u1\r"), (Words{"BEGIN", "LIST", "VAR", "u1"}));
    EXPECT_EQ(splitLine(""), Words{});
    EXPECT_EQ(splitLine("   "), Words{});
}

TEST(ProtocolLineTest, QuotedWordHoldsBlanksAndEscapes) {
    EXPECT_EQ(splitLine("VAR u1 ups.model \"Harbour 1500\""),
              (Words{"VAR", "u1", "ups.model", "Harbour 1500"}));
    EXPECT_EQ(splitLine(R"(VAR u1 x "say \"hi\" \\ there")"),
              (Words{"VAR", "u1", "x", R"(say "hi" \ there)"}));
}

TEST(ProtocolLineTest, EmptyQuotedWordIsAWord) {
    EXPECT_EQ(splitLine("VAR p ups.status \"\""), (Words{"VAR", "p", "ups.status", ""}));
}

TEST(ProtocolLineTest, QuoteWithoutEndIsNoLineOfTheProtocol) {
    EXPECT_THROW(splitLine("VAR u1 ups.model \"Harbour"), LinkError);
    EXPECT_THROW(splitLine(R"(VAR u1 ups.model "Harbour\)"), LinkError);
}

TEST(ProtocolLineTest, QuotedWordSurvivesTheWayThereAndBack) {
    for (const std::string word : {"", "plain", "two words", R"(a "b" \c\ d)"}) {
        EXPECT_EQ(splitLine(quote(word)), Words{word});
    }
}

TEST(ProtocolLineTest, WhatTheServerWouldMangleIsUnsafe) {
    EXPECT_TRUE(isSafeValue("rack 3, left"));
    EXPECT_TRUE(isSafeValue(""));
    for (const std::string value : {"a#b", "a\"b", "a\\b", "a\nb", "a\tb", "a\x7f"}) {
        EXPECT_FALSE(isSafeValue(value)) << value;
    }
}

} // namespace
} // namespace velk::nut
