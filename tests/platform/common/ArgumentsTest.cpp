#include "platform/common/Arguments.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using velk::common::get;
using velk::common::GetTypedArgHelper;

const std::unordered_map<std::string, std::string> ARGUMENTS{{"maxThreads", "8"}, {"bad", "8 "}};

TEST(ArgumentsTest, PresentArgumentIsConverted) {
    EXPECT_EQ(get<unsigned int>(ARGUMENTS, "maxThreads", 5), 8U);
}

TEST(ArgumentsTest, AbsentArgumentGivesTheFallback) {
    EXPECT_EQ(get<unsigned int>(ARGUMENTS, "maxRestTimeMs", 1000), 1000U);
}

TEST(ArgumentsTest, BadArgumentThrowsInsteadOfGivingTheFallback) {
    EXPECT_THROW(get<unsigned int>(ARGUMENTS, "bad", 5), std::invalid_argument);
}

TEST(ArgumentsTest, DigitsUpToTheGreatestNumberAreTaken) {
    EXPECT_EQ(GetTypedArgHelper<unsigned int>::get("0"), 0U);
    EXPECT_EQ(GetTypedArgHelper<unsigned int>::get("007"), 7U);
    EXPECT_EQ(GetTypedArgHelper<unsigned int>::get("4294967295"), 4294967295U);
}

class RefusedNumberTest : public testing::TestWithParam<const char*> {};

TEST_P(RefusedNumberTest, ThrowsWithTheTextInTheMessage) {
    const std::string text{GetParam()};
    try {
        FAIL() << "accepted as " << GetTypedArgHelper<unsigned int>::get(text);
    } catch (const std::invalid_argument& failure) {
        EXPECT_EQ(failure.what(), "\"" + text + "\" is not a whole number from 0 to 4294967295");
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, RefusedNumberTest,
                         testing::Values("", " ", "+1", "-1", "-0", " 1", "1 ", "1.0", "1e3", "0x10", "ten",
                                         "1,000", "4294967296", "99999999999999999999999", "5\n"));

} // namespace
