#include "cli/PathPattern.h"

#include <gtest/gtest.h>

#include <string>

namespace velk::cli {
namespace {

bool matches(const std::string& pattern, const std::string& path) {
    return PathPattern{pattern}.matches(path);
}

TEST(PathPatternTest, WithoutWildcardMeansExactlyThisPath) {
    EXPECT_FALSE(PathPattern{"Status.Mode"}.isGlob());
    EXPECT_TRUE(matches("Status.Mode", "Status.Mode"));
    EXPECT_FALSE(matches("Status.Mode", "Status.Mod"));
    EXPECT_FALSE(matches("Status", "Status.Mode"));
}

TEST(PathPatternTest, AStarStandsForLettersOfOneName) {
    EXPECT_TRUE(matches("Inputs.*.Measure.Voltage", "Inputs.1.Measure.Voltage"));
    EXPECT_FALSE(matches("Inputs.*.Measure.Voltage", "Inputs.1.Phases.1.Measure.Voltage"));
    EXPECT_TRUE(matches("Outlets.1.Status.S*n", "Outlets.1.Status.SwitchedOn"));
    EXPECT_TRUE(matches("*.1.Measure.*age", "Inputs.1.Measure.Voltage"));
    EXPECT_TRUE(matches("a*b*c.x", "aXbYbZc.x"));
    EXPECT_FALSE(matches("a*b*c.x", "aXbYbZ.x"));
}

TEST(PathPatternTest, AStarAsTheLastNameStandsForEverythingBelow) {
    EXPECT_TRUE(matches("Inputs.*", "Inputs.1.Phases.1.Measure.Voltage"));
    EXPECT_TRUE(matches("Setting.*", "Setting.Voltage.HighCriticalThreshold"));
    EXPECT_TRUE(matches("*", "Status.Mode"));
    EXPECT_FALSE(matches("Inputs.*", "Inputs"));
    EXPECT_FALSE(matches("Inputs.*", "Outputs.1.Status.Mode"));
}

TEST(PathPatternTest, ADoubleStarStandsForAnyNumberOfNames) {
    EXPECT_TRUE(matches("**.Voltage", "Inputs.1.Phases.1.Measure.Voltage"));
    EXPECT_TRUE(matches("**.Status.Mode", "Status.Mode"));
    EXPECT_TRUE(matches("**", "Status.Mode"));
    EXPECT_TRUE(matches("Inputs.**.Voltage", "Inputs.1.Measure.Voltage"));
    EXPECT_FALSE(matches("**.Voltage", "Measure.Current"));
}

TEST(PathPatternTest, ManyDoubleStarsTakeNoLongerThanTheirNumber) {
    std::string pattern;
    std::string path;
    for (int i = 0; i < 40; ++i) {
        pattern += "**.a.";
        path += "a.a.";
    }
    EXPECT_FALSE(matches(pattern + "b", path + "c"));
    EXPECT_TRUE(matches(pattern + "b", path + "b"));
}

TEST(PathPatternTest, AQuestionMarkStandsForOneLetter) {
    EXPECT_TRUE(matches("Outlets.?.Status.Mode", "Outlets.3.Status.Mode"));
    EXPECT_FALSE(matches("Outlets.?.Status.Mode", "Outlets.12.Status.Mode"));
}

TEST(PathPatternTest, SplitsAPathIntoItsNames) {
    EXPECT_EQ(namesOf("Inputs.1.Measure"), (std::vector<std::string>{"Inputs", "1", "Measure"}));
    EXPECT_TRUE(namesOf("").empty());
}

} // namespace
} // namespace velk::cli
