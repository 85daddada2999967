#include "cli/EditDistance.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

TEST(EditDistanceTest, CountsInsertedRemovedAndReplacedLetters) {
    EXPECT_EQ(editDistance("", ""), 0U);
    EXPECT_EQ(editDistance("abc", ""), 3U);
    EXPECT_EQ(editDistance("", "ab"), 2U);
    EXPECT_EQ(editDistance("kitten", "sitting"), 3U);
    EXPECT_EQ(editDistance("Voltge", "Voltage"), 1U);
}

TEST(EditDistanceTest, TakesUpperAndLowerCaseAsTheSameLetter) {
    EXPECT_EQ(editDistance("MUTED", "muted"), 0U);
    EXPECT_EQ(editDistance("[", "{"), 1U);
}

TEST(EditDistanceTest, GivesTheNearestCandidateAndTheFirstAmongEquals) {
    EXPECT_EQ(nearest("Measure.Voltge", {"Measure.Current", "Measure.Voltage"}), "Measure.Voltage");
    EXPECT_EQ(nearest("abcx", {"abcd", "abce"}), "abcd");
}

TEST(EditDistanceTest, GivesNothingWhenEvenTheNearestHasNothingToDoWithIt) {
    EXPECT_EQ(nearest("humidity", {"Status.Mode", "Attribute.Model"}), "");
    EXPECT_EQ(nearest("x", {}), "");
}

} // namespace
} // namespace velk::cli
