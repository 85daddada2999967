#include "cli/FigureText.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

TEST(FigureTextTest, HasAsManyDigitsAsTellSomething) {
    EXPECT_EQ(figureText(230.0, "V"), "230 V");
    EXPECT_EQ(figureText(229.44, "V"), "229.4 V");
    EXPECT_EQ(figureText(0.346, "A"), "0.35 A");
    EXPECT_EQ(figureText(-0.001, "A"), "0 A");
    EXPECT_EQ(figureText(1234.5, "V"), "1234 V");
    EXPECT_EQ(figureText(999.6, "W"), "1000 W");
    EXPECT_EQ(figureText(2.0, ""), "2");
}

TEST(FigureTextTest, LargePowersAreSaidInThousands) {
    EXPECT_EQ(figureText(9999.0, "W"), "9999 W");
    EXPECT_EQ(figureText(18277.6, "W"), "18.3 kW");
    EXPECT_EQ(figureText(-20'000.0, "VA"), "-20 kVA");
    EXPECT_EQ(figureText(20'000.0, "V"), "20000 V");
}

TEST(FigureTextTest, FourDigitsAreEnoughAndAWholePartStaysWhole) {
    EXPECT_EQ(fourDigits(4.370471), "4.37");
    EXPECT_EQ(fourDigits(12.477355), "12.48");
    EXPECT_EQ(fourDigits(78.98347), "78.98");
    EXPECT_EQ(fourDigits(9.99999), "10");
    EXPECT_EQ(fourDigits(-230.0), "-230");
    EXPECT_EQ(fourDigits(0.0), "0");
    EXPECT_EQ(fourDigits(0.00123456), "0.001235");
    EXPECT_EQ(fourDigits(12345.6), "12346");
    EXPECT_EQ(fourDigits(-1e-30), "0");
    EXPECT_EQ(fourDigits(3e38).size(), 39U);
}

TEST(FigureTextTest, ADurationIsSaidInTheUnitsThatPeopleUseForIt) {
    EXPECT_EQ(durationText(0), "0 s");
    EXPECT_EQ(durationText(119), "119 s");
    EXPECT_EQ(durationText(120), "2 min");
    EXPECT_EQ(durationText(7199), "119 min");
    EXPECT_EQ(durationText(7200), "2 h");
    EXPECT_EQ(durationText(12'000), "3 h 20 min");
}

} // namespace
} // namespace velk::cli
