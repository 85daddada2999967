#include "plugins/nut/Texts.h"

#include <gtest/gtest.h>

#include <clocale>

namespace velk::nut {
namespace {

TEST(TextsTest, NumberIsDecimalWhateverItsZeros) {
    EXPECT_EQ(parseNumber("024"), 24.0);
    EXPECT_EQ(parseNumber("054.5"), 54.5);
    EXPECT_EQ(parseNumber("0.00"), 0.0);
    EXPECT_EQ(parseNumber("-18.7"), -18.7);
    EXPECT_EQ(parseNumber("+3"), 3.0);
    EXPECT_EQ(parseNumber(" 230 "), 230.0);
    EXPECT_EQ(parseNumber(".5"), 0.5);
    EXPECT_EQ(parseNumber("5."), 5.0);
}

TEST(TextsTest, GarbageIsNoNumberAndNeverZero) {
    for (const char* text : {"", " ", "-", ".", "+.", "12a", "1e3", "0x10", "1,5", "1.2.3", "nan", "inf",
                             "--1", "1 2", "LoadTooLow", "not set"}) {
        EXPECT_EQ(parseNumber(text), std::nullopt) << text;
    }
}

TEST(TextsTest, NumberOfHundredsOfDigitsIsNone) {
    EXPECT_EQ(parseNumber(std::string(250, '9')), std::nullopt);
    EXPECT_EQ(parseNumber("-" + std::string(500, '9')), std::nullopt);
    EXPECT_EQ(parseNumber("1000000000"), 1e9);
    EXPECT_EQ(parseNumber("1000000001"), std::nullopt);
}

TEST(TextsTest, NumberDoesNotGoByTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "de_DE.UTF-8"); // where it is installed
    EXPECT_EQ(parseNumber("1.5"), 1.5);
    EXPECT_EQ(numberText(1.5F), "1.5");
    std::setlocale(LC_ALL, before.c_str());
}

TEST(TextsTest, CountMayBeWrittenWithDecimals) {
    EXPECT_EQ(parseCount("24.00", 128), 24U);
    EXPECT_EQ(parseCount("001", 128), 1U);
    EXPECT_EQ(parseCount("129", 128), std::nullopt);
    EXPECT_EQ(parseCount("-1", 128), std::nullopt);
    EXPECT_EQ(parseCount("many", 128), std::nullopt);
}

TEST(TextsTest, DelayOfTheSentinelsIsNone) {
    EXPECT_EQ(parseDelay("20"), 20);
    EXPECT_EQ(parseDelay("0"), 0);
    for (const char* none : {"-1", "-60", "65535", "2147483647"}) {
        EXPECT_EQ(parseDelay(none), -1) << none;
    }
    EXPECT_EQ(parseDelay("soon"), std::nullopt);
    EXPECT_EQ(parseDelay("99999999999"), std::nullopt);
}

TEST(TextsTest, RuntimeComesInSecondsOrMinutes) {
    EXPECT_EQ(parseRuntime("1575"), 1575U);
    EXPECT_EQ(parseRuntime("1659.00"), 1659U);
    EXPECT_EQ(parseRuntime("12:30"), 750U);
    for (const char* unknown :
         {"-1", "65535", "3932100", "2147483647", "65535:00", "1:75", "1:2:3", "", ":"}) {
        EXPECT_EQ(parseRuntime(unknown), std::nullopt) << unknown;
    }
}

TEST(TextsTest, YesAndNoHaveManyWords) {
    for (const char* yes : {"yes", "YES", "on", "enabled", "1", "1.00", "true", "on/closed", " On "}) {
        EXPECT_EQ(parseBool(yes), true) << yes;
    }
    for (const char* no : {"no", "off", "Disabled", "0", "0.00", "false"}) {
        EXPECT_EQ(parseBool(no), false) << no;
    }
    for (const char* neither : {"", "mixed", "OL", "128.00", "maybe"}) {
        EXPECT_EQ(parseBool(neither), std::nullopt) << neither;
    }
}

std::string day(const char* text) {
    const auto date = parseDate(text);
    return date ? date->toIso8601().substr(0, 10) : "none";
}

TEST(TextsTest, DateIsWrittenInManyWays) {
    EXPECT_EQ(day("2024-02-29"), "2024-02-29");
    EXPECT_EQ(day("2022/06/01"), "2022-06-01");
    EXPECT_EQ(day("04/18/2015"), "2015-04-18");
    EXPECT_EQ(day("18/04/2015"), "2015-04-18");
    EXPECT_EQ(day("03/04/2015"), "2015-03-04") << "month first where nothing tells";
    EXPECT_EQ(day("06/07/98"), "1998-06-07");
    EXPECT_EQ(day("06/07/21"), "2021-06-07");
}

TEST(TextsTest, DateThatIsNoDayIsNone) {
    for (const char* text : {"", "not set", "2001/00/00", "1980/00/01", "2023-02-29", "13/13/2020", "2024-02",
                             "1969-12-31", "2200-01-01", "06/07/021", "a/b/c", "2024-02-29-1"}) {
        EXPECT_EQ(day(text), "none") << text;
    }
}

TEST(TextsTest, TimeOfDayMayLeaveOutSeconds) {
    EXPECT_EQ(parseTimeOfDay("12:34:56"), 45296U);
    EXPECT_EQ(parseTimeOfDay("00:00"), 0U);
    EXPECT_EQ(parseTimeOfDay("23:59"), 86340U);
    for (const char* text : {"", "24:00", "12:60", "12", "12:34:56:78", "a:b"}) {
        EXPECT_EQ(parseTimeOfDay(text), std::nullopt) << text;
    }
}

TEST(TextsTest, BlanksCollapse) {
    EXPECT_EQ(collapsed("  Harbour \t 1500\n"), "Harbour 1500");
    EXPECT_EQ(collapsed(" \n"), "");
}

TEST(TextsTest, NumberIsWrittenWithoutExponentAndAsShortAsItCan) {
    EXPECT_EQ(numberText(20.0F), "20");
    EXPECT_EQ(numberText(207.5F), "207.5");
    EXPECT_EQ(numberText(0.1F), "0.1");
    EXPECT_EQ(numberText(1000000.0F), "1000000");
    EXPECT_EQ(numberText(-1.0F), "-1");
}

} // namespace
} // namespace velk::nut
