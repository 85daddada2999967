#include "cli/HistoryScreen.h"

#include "cli/NumberChart.h"
#include "cli/StateSpans.h"
#include "cli/Table.h"
#include "cli/Terminal.h"
#include "tests/cli/TestSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;
using Column = HistoryAnswer::Column;

std::optional<Column> constantly(double value) {
    return Column{value, value, value, value};
}

TEST(NumberChartTest, WithoutUnicodeAStarIsTheMeanAndBarsGoFromTheLeastToTheGreatest) {
    const NumberChart chart{4, false};
    EXPECT_EQ(chart.columns(), 4U);
    const auto lines =
        chart.lines({constantly(0.0), std::nullopt, Column{0.0, 7.0, 7.0, 7.0}, constantly(3.0)}, 0.0, 7.0);
    EXPECT_EQ(lines,
              (std::vector<std::string>{"  * ", "  | ", "  | ", "  | ", "  |*", "  | ", "  | ", "* | "}));
}

TEST(NumberChartTest, WithUnicodeACharacterHasTwoColumnsAndFourRowsOfDots) {
    const NumberChart chart{2, true};
    EXPECT_EQ(chart.columns(), 4U);
    const auto lines = chart.lines(
        {constantly(0.0), Column{0.0, 1.0, 31.0, 1.0}, std::nullopt, constantly(31.0)}, 0.0, 31.0);
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines.front(), "⢸⠈");
    EXPECT_EQ(lines[3], "⢸ ");
    EXPECT_EQ(lines.back(), "⣸ ");
}

TEST(NumberChartTest, WhatLiesOutsideIsDrawnAtTheBorder) {
    const auto lines = NumberChart{2, false}.lines({constantly(-5.0), constantly(50.0)}, 0.0, 7.0);
    EXPECT_EQ(lines.front(), " *");
    EXPECT_EQ(lines.back(), "* ");
}

TEST(StateSpansTest, EachStateHasItsTimeHowOftenItCameAndWhen) {
    HistoryAnswer answer;
    answer.fromMs = 1000;
    answer.toMs = 5000;
    answer.changes = {
        {0, qz::CValue{true}}, {2000, qz::CValue{false}}, {2500, qz::CValue{true}}, {4000, qz::CValue{}}};
    const StateSpans spans{answer, 4};
    ASSERT_EQ(spans.rows().size(), 2U);
    EXPECT_EQ(spans.rows()[0].state, qz::CValue{true});
    EXPECT_EQ(spans.rows()[0].lastedMs, 2500);
    EXPECT_EQ(spans.rows()[0].times, 2U);
    EXPECT_EQ(spans.rows()[1].lastedMs, 500);
    EXPECT_EQ(spans.line(spans.rows()[0], false), "### ");
    EXPECT_EQ(spans.line(spans.rows()[1], false), " #  "); // as long as the other one
    EXPECT_EQ(spans.line(spans.rows()[0], true), "███ ");
}

TEST(StateSpansTest, AStateThatWasThereForAShortTimeHasASmallBlock) {
    HistoryAnswer answer;
    answer.toMs = 100;
    answer.changes = {{0, qz::CValue{1U}}, {10, qz::CValue{2U}}, {11, qz::CValue{1U}}};
    const StateSpans spans{answer, 2};
    EXPECT_EQ(spans.line(spans.rows()[1], false), "+ ");
    EXPECT_EQ(spans.line(spans.rows()[1], true), "▪ ");
}

class HistoryScreenTest : public ::testing::Test {
protected:
    static constexpr std::int64_t TO_MS = SnapshotBuilder::NOW_MS; // 2023-11-14 22:13:20
    static constexpr std::int64_t FROM_MS = TO_MS - 3'600'000;

    HistoryScreenTest() {
        builder.channel(20, "Measure.Voltage", qz::CValue{230.0F}, "V");
        builder.channel(20, "Status.Mode", qz::CValue{3U}).states =
            test::statesOf({{2, "on line"}, {3, "on battery"}});
        builder.channel(20, "Status.Text", qz::CValue{"x"});
        builder.channel(20, "Status.Flag", qz::CValue{true});
        session.session.width = 60;
    }

    /// Of the last hour, in `columns` parts of a voltage that rises from 200 V to 230 V after a part in which
    /// nobody knew.
    static HistoryAnswer rising(std::size_t columns) {
        HistoryAnswer answer = past("number");
        for (std::size_t i = 0; i < columns; ++i) {
            const double volts = 200.0 + 30.0 * static_cast<double>(i) / static_cast<double>(columns - 1);
            answer.columns.push_back(i == 0 ? std::nullopt : constantly(volts));
        }
        answer.whole = Column{200.0, 215.25, 230.0, 230.0};
        return answer;
    }

    static HistoryAnswer past(const std::string& kind) {
        HistoryAnswer answer;
        answer.enabled = true;
        answer.known = true;
        answer.kind = kind;
        answer.fromMs = FROM_MS;
        answer.toMs = TO_MS;
        answer.oldestMs = FROM_MS;
        return answer;
    }

    HistoryScreen screen(const std::string& path, const HistoryAnswer& answer) {
        view.emplace(builder.build());
        return HistoryScreen{session.session, view->require(path), answer};
    }

    SnapshotBuilder builder;
    std::optional<StoreView> view;
    test::SnapshotStore store{builder};
    test::TestSession session{store};
};

TEST_F(HistoryScreenTest, AChartHasItsFiguresWithUnitsTheTimesAndNoMoreThanTheWidth) {
    const HistoryAnswer answer = rising(HistoryScreen::columnsFor(session.session));
    screen("Measure.Voltage", answer).print();
    const std::string text = session.takeOut();
    EXPECT_EQ(text.substr(0, text.find('\n')), "Measure.Voltage  2023-11-14 21:13:20 to 2023-11-14 22:13:20");
    EXPECT_THAT(text, ::testing::HasSubstr("\n      230 V | "));
    EXPECT_THAT(text, ::testing::HasSubstr("\n      200 V |"));
    EXPECT_THAT(text, ::testing::HasSubstr("\n             21:13"));
    EXPECT_THAT(text, ::testing::ContainsRegex("21:13 +21:43 +22:13\n"));
    EXPECT_THAT(text, ::testing::EndsWith("\nleast 200 V, mean 215.2 V, greatest 230 V, last 230 V\n"));
    std::istringstream lines{text};
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(displayWidth(line), 60U) << line;
    }
    EXPECT_EQ(session.err.str(), "");
}

TEST_F(HistoryScreenTest, WithUnicodeTheChartHasTwiceTheColumnsAndTheSameWidth) {
    const std::size_t plain = HistoryScreen::columnsFor(session.session);
    session.session.unicode = true;
    EXPECT_EQ(HistoryScreen::columnsFor(session.session), 2 * plain);
    const HistoryAnswer answer = rising(2 * plain);
    screen("Measure.Voltage", answer).print();
    const std::string text = session.takeOut();
    EXPECT_THAT(text, ::testing::HasSubstr("\n      230 V ┤"));
    EXPECT_THAT(text, ::testing::HasSubstr("└──"));
    std::istringstream lines{text};
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(displayWidth(line), 60U) << line;
    }
}

TEST_F(HistoryScreenTest, WithoutUnicodeEverythingIsAscii) {
    const HistoryAnswer number = rising(HistoryScreen::columnsFor(session.session));
    screen("Measure.Voltage", number).print();
    HistoryAnswer states = past("state");
    states.changes = {{FROM_MS, qz::CValue{2U}}};
    screen("Status.Mode", states).print();
    for (const char letter : session.takeOut()) {
        EXPECT_LT(static_cast<unsigned char>(letter), 0x80);
    }
}

TEST_F(HistoryScreenTest, ANumberThatNeverChangedIsALineInTheMiddle) {
    HistoryAnswer answer = past("number");
    answer.columns.assign(HistoryScreen::columnsFor(session.session), constantly(230.0));
    answer.whole = constantly(230.0);
    screen("Measure.Voltage", answer).print();
    const std::string text = session.takeOut();
    EXPECT_THAT(text, ::testing::HasSubstr("\n    232.3 V | "));
    EXPECT_THAT(text, ::testing::HasSubstr("|***************"));
}

TEST_F(HistoryScreenTest, StatesHaveALineEachWithTheirShare) {
    HistoryAnswer answer = past("state");
    answer.changes = {{FROM_MS - 1, qz::CValue{2U}}, {TO_MS - 900'000, qz::CValue{3U}}};
    screen("Status.Mode", answer).print();
    const std::string text = session.takeOut();
    EXPECT_THAT(text, ::testing::ContainsRegex("\non line    \\|#+ +  75.0 %, 1 time\n"));
    EXPECT_THAT(text, ::testing::ContainsRegex("\non battery \\| +#+  25.0 %, 1 time\n"));
    EXPECT_THAT(text, ::testing::ContainsRegex("21:13 +21:43 +22:13\n"));
}

TEST_F(HistoryScreenTest, SharesAreOfTheTimeOfWhichSomethingIsKnown) {
    HistoryAnswer answer = past("state");
    answer.changes = {{TO_MS - 1'200'000, qz::CValue{2U}}, {TO_MS - 300'000, qz::CValue{3U}}};
    screen("Status.Mode", answer).print();
    const std::string text = session.takeOut();
    EXPECT_THAT(text, ::testing::HasSubstr(" 75.0 %, 1 time\n"));
    EXPECT_THAT(text, ::testing::HasSubstr(" 25.0 %, 1 time\n"));
}

TEST_F(HistoryScreenTest, TheAxisStandsBelowTheLongestNameOfAState) {
    builder.channel(20, "Status.Long", qz::CValue{3U}).states =
        test::statesOf({{2, "on line"}, {3, "on line interactive normal"}});
    session.session.width = 100;
    HistoryAnswer answer = past("state");
    answer.changes = {{FROM_MS, qz::CValue{2U}}, {TO_MS - 900'000, qz::CValue{3U}}};
    screen("Status.Long", answer).print();
    std::istringstream lines{session.takeOut()};
    std::string line;
    std::getline(lines, line);
    std::size_t rows = 0;
    for (; std::getline(lines, line) && line.find_first_of("|+") != std::string::npos; ++rows) {
        EXPECT_EQ(line.find_first_of("|+"), 27U) << line;
    }
    EXPECT_EQ(rows, 3U);
}

TEST_F(HistoryScreenTest, ANarrowAxisHasOnlyTheTimesThatStandApart) {
    session.session.width = 30;
    const HistoryAnswer answer = rising(HistoryScreen::columnsFor(session.session));
    screen("Measure.Voltage", answer).print();
    EXPECT_THAT(session.takeOut(), ::testing::HasSubstr("\n             21:13 21:43 22:13\n"));
    session.session.width = 26;
    screen("Measure.Voltage", answer).print();
    EXPECT_THAT(session.takeOut(), ::testing::HasSubstr("\n             21:13   22:13\n"));
    session.session.width = 21;
    screen("Measure.Voltage", answer).print();
    EXPECT_THAT(session.takeOut(), ::testing::HasSubstr("\n             21:13\n"));
}

TEST_F(HistoryScreenTest, AListHasTheNewestThousand) {
    HistoryAnswer answer = past("text");
    for (int i = 0; i < 1002; ++i) {
        answer.changes.push_back({FROM_MS + i, qz::CValue{"text " + std::to_string(i)}});
    }
    screen("Status.Text", answer).print();
    const std::string text = session.takeOut();
    EXPECT_EQ(text.find("  text 1 "), std::string::npos);
    EXPECT_NE(text.find("  text 2 "), std::string::npos);
    EXPECT_THAT(session.err.str(), ::testing::HasSubstr("2 older changes are not shown"));
}

TEST_F(HistoryScreenTest, TextsAreAListWithTheirDurations) {
    HistoryAnswer answer = past("text");
    answer.changes = {
        {TO_MS - 90'000, qz::CValue{"a"}}, {TO_MS - 60'000, qz::CValue{}}, {TO_MS, qz::CValue{"b\033"}}};
    answer.leftOut = 3;
    answer.oldestMs = FROM_MS + 1000;
    screen("Status.Text", answer).print();
    EXPECT_THAT(session.takeOut(), ::testing::HasSubstr("2023-11-14 22:11:50  a          for 30 s\n"
                                                        "2023-11-14 22:12:20  not known  for 60 s\n"
                                                        "2023-11-14 22:13:20  b?         for 0 s\n"));
    EXPECT_EQ(session.err.str(), "tess: 3 older changes are not shown; a shorter time shows all\n"
                                 "tess: nothing is known of the time before 2023-11-14 21:13:21\n");
}

TEST_F(HistoryScreenTest, OverDaysTheTimesHaveTheirDay) {
    HistoryAnswer answer = rising(47);
    answer.fromMs = TO_MS - std::int64_t{7} * 86'400'000;
    screen("Measure.Voltage", answer).print();
    EXPECT_THAT(session.takeOut(), ::testing::ContainsRegex("11-07 22:13 +11-11 10:13 +11-14 22:13\n"));
}

TEST_F(HistoryScreenTest, CsvHasALineForEachPartOrChange) {
    HistoryAnswer number = past("number");
    number.columns = {std::nullopt, Column{1.5, 2.0, 3.0, 2.5}};
    number.whole = number.columns[1];
    screen("Measure.Voltage", number).printCsv();
    EXPECT_EQ(session.takeOut(), "time,least,mean,greatest,last\n"
                                 "2023-11-14T21:13:20.000Z,,,,\n"
                                 "2023-11-14T21:43:20.000Z,1.5,2.0,3.0,2.5\n");
    HistoryAnswer text = past("text");
    text.changes = {{FROM_MS, qz::CValue{"a, \"b\""}}, {TO_MS, qz::CValue{}}};
    screen("Status.Text", text).printCsv();
    EXPECT_EQ(session.takeOut(), "time,value,text\n"
                                 "2023-11-14T21:13:20.000Z,\"a, \"\"b\"\"\",\n"
                                 "2023-11-14T22:13:20.000Z,,\n");
    HistoryAnswer state = past("state");
    state.changes = {{FROM_MS, qz::CValue{3U}}};
    screen("Status.Mode", state).printCsv();
    EXPECT_EQ(session.takeOut(), "time,value,text\n2023-11-14T21:13:20.000Z,3,on battery\n");
}

TEST_F(HistoryScreenTest, JsonHasColumnsOrChanges) {
    HistoryAnswer number = past("number");
    number.columns = {std::nullopt, Column{1.5, 2.0, 3.0, 2.5}};
    number.whole = number.columns[1];
    screen("Measure.Voltage", number).printJson();
    nlohmann::json json = nlohmann::json::parse(session.takeOut());
    EXPECT_EQ(json["unit"], "V");
    EXPECT_EQ(json["from"], "2023-11-14T21:13:20.000Z");
    EXPECT_EQ(json["whole"]["mean"], 2.0);
    EXPECT_TRUE(json["columns"][0]["mean"].is_null());
    EXPECT_EQ(json["columns"][1]["time"], "2023-11-14T21:43:20.000Z");
    EXPECT_EQ(json["columns"][1]["greatest"], 3.0);
    HistoryAnswer state = past("state");
    state.changes = {{FROM_MS, qz::CValue{true}}, {TO_MS, qz::CValue{}}};
    screen("Status.Flag", state).printJson();
    json = nlohmann::json::parse(session.takeOut());
    EXPECT_EQ(json["changes"][0]["value"], true);
    EXPECT_TRUE(json["changes"][1]["value"].is_null());
    EXPECT_EQ(json["leftOut"], 0);
}

TEST(HistoryAnswerTest, WhatIsNoAnswerIsNone) {
    for (const char* text :
         {"{}", "[]", R"({"enabled":true})", R"({"enabled":true,"known":true,"kind":"number"})",
          R"({"enabled":1,"known":true})"}) {
        EXPECT_FALSE(HistoryAnswer::parse(nlohmann::ordered_json::parse(text), qz::datatype::float32))
            << text;
    }
    EXPECT_FALSE(
        HistoryAnswer::parse(nlohmann::ordered_json::parse(R"({"enabled":false})"), qz::datatype::boolean)
            ->enabled);
}

class TerminalTest : public ::testing::Test {
protected:
    ~TerminalTest() override {
        for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG", "COLUMNS"}) {
            unsetenv(name);
        }
    }
};

TEST_F(TerminalTest, TheFirstOfLcAllLcCtypeAndLangThatIsThereSaysWhetherItIsUtf8) {
    unsetenv("LC_ALL");
    unsetenv("LC_CTYPE");
    setenv("LANG", "C", 1);
    EXPECT_FALSE(speaksUtf8());
    setenv("LANG", "de_DE.UTF-8", 1);
    EXPECT_TRUE(speaksUtf8());
    setenv("LC_CTYPE", "C.utf8", 1);
    EXPECT_TRUE(speaksUtf8());
    setenv("LC_ALL", "POSIX", 1);
    EXPECT_FALSE(speaksUtf8());
    setenv("LC_ALL", "", 1);
    EXPECT_TRUE(speaksUtf8());
}

TEST_F(TerminalTest, WithoutATerminalTheWidthIsThatOfTheEnvironmentElse80) {
    unsetenv("COLUMNS");
    EXPECT_EQ(terminalWidth(-1), 80U);
    setenv("COLUMNS", "132", 1);
    EXPECT_EQ(terminalWidth(-1), 132U);
    setenv("COLUMNS", "3", 1);
    EXPECT_EQ(terminalWidth(-1), 20U);
    setenv("COLUMNS", "99999", 1);
    EXPECT_EQ(terminalWidth(-1), 1000U);
    setenv("COLUMNS", "wide", 1);
    EXPECT_EQ(terminalWidth(-1), 80U);
}

} // namespace
} // namespace velk::cli
