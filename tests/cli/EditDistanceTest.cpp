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

TEST(NearestFewTest, NearestComeFirstEachOnceAndNoMoreThanAskedFor) {
    const std::vector<std::string> candidates{"Outlets.2", "Outlets.1", "Inputs.1", "Outlets.1", "Outlet.1"};
    EXPECT_EQ(nearestFew("Outlets.1", candidates, 3),
              (std::vector<std::string>{"Outlets.1", "Outlet.1", "Outlets.2"}));
    EXPECT_EQ(nearestFew("Outlets.1", candidates, 1), std::vector<std::string>{"Outlets.1"});
}

TEST(NearestFewTest, WhatHasNothingToDoWithItIsNotNear) {
    EXPECT_TRUE(nearestFew("Outlets.1", {"Status.Mode", "Inputs.1.Measure.Voltage"}, 3).empty());
    EXPECT_TRUE(nearestFew("Outlets.1", {}, 3).empty());
}

} // namespace
} // namespace velk::cli
