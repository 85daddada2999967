#include "tests/scenarios/ScenarioReader.h"

#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>

namespace velk::scenarios {
namespace {

class ScenarioReaderTest : public ::testing::Test {
protected:
    Scenario read(const std::string& text, const Variables& variables = {}) {
        std::ofstream{file} << text;
        return readScenario(file, variables);
    }

    /// What is wrong with a scenario, without the name of its file.
    std::string mistake(const std::string& text) {
        try {
            read(text);
            return "";
        } catch (const ScenarioError& error) {
            return std::string{error.what()}.substr(file.string().size());
        }
    }

    /// The same with a step alone.
    std::string mistakeOfStep(const std::string& step) {
        return mistake("{\"about\": \"a\", \"steps\": [\n" + step + "]}");
    }

    velk::testing::TemporaryDirectory folder;
    const std::filesystem::path file{folder / "life.json"};
};

TEST_F(ScenarioReaderTest, StepsComeInTheirOrderWithTheirPlaces) {
    const Scenario scenario = read(R"({"about": "a life", "store": "sqlite", "plugins": ["scripted"],
"simulator": {"device": "small", "seed": 7},
"steps": [
  {"start": {"seed": 8}},
  {"say": "a headline"},
  {"say": "why", "pauses": 3},
  {"write": {"Setting.A": {"uint32": 2}, "Action.B": true}}
]})");
    EXPECT_EQ(scenario.about, "a life");
    EXPECT_EQ(scenario.store, "sqlite");
    EXPECT_EQ(scenario.plugins, std::vector<std::string>{"scripted"});
    EXPECT_EQ(scenario.simulator.at("device"), "\"small\"");
    EXPECT_EQ(scenario.simulator.at("seed"), "7");
    ASSERT_EQ(scenario.steps.size(), 4U);
    EXPECT_EQ(std::get<Start>(scenario.steps[0].deed).simulator.at("seed"), "8");
    EXPECT_EQ(std::get<Pauses>(scenario.steps[1].deed).count, 3U);
    EXPECT_EQ(scenario.steps[1].say, "why");
    EXPECT_EQ(scenario.steps[1].where, file.string() + ":6:3");
    EXPECT_EQ(std::get<WriteStore>(scenario.steps[2].deed).value, qz::CValue{std::uint32_t{2}});
    EXPECT_EQ(std::get<WriteStore>(scenario.steps[3].deed).path, "Action.B");
}

TEST_F(ScenarioReaderTest, CommandsKeepTheirTextAndExpectationsTheirTypes) {
    const Scenario scenario = read(R"({"about": "a", "steps": [
  {"device": {"do": "get", "path": "A"}, "answer": {"value": 3}},
  {"expect": {"store": {"A": {"float": 1}, "B": null, "C": {"absent": true}, "D": {"any": "uint32"}},
              "errors": ["one", {"line": "many…", "anyTimes": true}]}}]})");
    const auto& command = std::get<Command>(scenario.steps.at(0).deed);
    EXPECT_EQ(command.json, R"({"do": "get", "path": "A"})");
    EXPECT_EQ(command.answer.at("value"), "3");
    EXPECT_EQ(std::get<ExpectValue>(scenario.steps.at(1).deed).wanted.value, qz::CValue{1.0F});
    const auto& none = std::get<ExpectValue>(scenario.steps.at(2).deed).wanted;
    EXPECT_FALSE(none.value.has_value() || none.anyOf.has_value() || none.absent);
    EXPECT_TRUE(std::get<ExpectValue>(scenario.steps.at(3).deed).wanted.absent);
    EXPECT_EQ(std::get<ExpectValue>(scenario.steps.at(4).deed).wanted.anyOf, qz::datatype::uint32);
    const auto& lines = std::get<ExpectLines>(scenario.steps.at(5).deed).lines;
    EXPECT_EQ(lines.at(0).text, "one");
    EXPECT_FALSE(lines.at(0).anyTimes);
    EXPECT_TRUE(lines.at(1).anyTimes);
}

TEST_F(ScenarioReaderTest, VariablesTakeTheirPlaceAsTextAndAsJson) {
    std::ofstream{file}
        << R"({"variants": [{"kind": "standard", "count": 2}, {"kind": "other", "count": 3}]})";
    const auto variants = readVariants(file);
    ASSERT_EQ(variants.size(), 2U);
    const std::string text = R"({"about": "of $kind, not $kinds", "steps": [{"pauses": "$count"}]})";
    const Scenario scenario = read(text, variants[1]);
    EXPECT_EQ(scenario.about, "of other, not $kinds");
    EXPECT_EQ(std::get<Pauses>(scenario.steps.at(0).deed).count, 3U);
}

TEST_F(ScenarioReaderTest, ScenarioWithoutVariantsIsPlayedOnce) {
    std::ofstream{file} << "{}";
    EXPECT_EQ(readVariants(file), std::vector<Variables>{Variables{}});
}

TEST_F(ScenarioReaderTest, MistakesNameTheirPlaceAndWhatWasExpected) {
    EXPECT_EQ(mistake("{\n  oops}").substr(0, 5), ":2:3:");
    EXPECT_EQ(mistake("{}"), ":1:1: expected \"about\": what the scenario shows");
    EXPECT_EQ(mistake(R"({"about": "a"})"), ":1:1: expected \"steps\"");
    EXPECT_EQ(mistake(R"({"abuot": "a"})"), ":1:11: unknown member \"abuot\", expected one of \"about\", "
                                            "\"others\", \"plugins\", \"simulator\", \"steps\", "
                                            "\"store\", \"variants\"");
    EXPECT_EQ(mistake(R"({"store": "disk"})"), ":1:11: expected \"memory\" or \"sqlite\"");
}

TEST_F(ScenarioReaderTest, MistakesInAStepNameTheirPlaceAndWhatWasExpected) {
    EXPECT_EQ(mistakeOfStep(R"({"start": 1})"), ":2:11: expected an object");
    EXPECT_EQ(mistakeOfStep(R"({"pauses": -1})"), ":2:12: expected a whole number, 0 or more");
    EXPECT_EQ(mistakeOfStep(R"({"hold": "BULID"})"),
              ":2:10: expected a state of the lifecycle, for instance \"MONITOR\"");
    EXPECT_EQ(mistakeOfStep(R"({"do": "nothing"})"),
              ":2:8: expected \"exit\", \"destroy\", \"release\" or \"settle\"");
    EXPECT_EQ(mistakeOfStep(R"({"device": {}})"),
              ":2:12: expected a command to the simulator, for instance {\"do\": \"clear\"}");
    EXPECT_EQ(mistakeOfStep(R"({"store": "gone"})"), ":2:11: expected \"away\", \"back\" or \"replaced\"");
    EXPECT_EQ(mistakeOfStep(R"({"pauses": 1, "hold": "STOP"})"),
              ":2:23: a step does one thing; this one does \"pauses\" already");
    EXPECT_EQ(mistakeOfStep("{}"), ":2:1: expected something to do");
    EXPECT_EQ(mistakeOfStep(R"({"write": {"A": 2}})"),
              ":2:17: expected true, false, a text, or a number with its type, for instance {\"uint32\": 2}");
    EXPECT_EQ(mistakeOfStep(R"({"repeat": 2})"), ":2:1: expected \"steps\" beside \"repeat\"");
    EXPECT_EQ(mistakeOfStep(R"({"file": {"name": "../a"}})"),
              ":2:10: expected the \"name\" of a file in the scenario's folder");
    EXPECT_EQ(mistakeOfStep(R"({"expect": {"devices": {"20": {"attributes": {"colour": "red"}}}}})"),
              ":2:57: expected an attribute of a device, for instance \"serialNumber\"");
    EXPECT_EQ(mistakeOfStep(R"({"expect": {"store": {"A": {"any": "number"}}}})"),
              ":2:36: expected \"bool\", \"int32\", \"uint32\", \"float\", \"string\" or \"timestamp\"");
}

TEST_F(ScenarioReaderTest, UnknownStepsAndExpectationsAreTold) {
    EXPECT_EQ(mistakeOfStep(R"({"strat": {}})").substr(0, 29), ":2:11: unknown step \"strat\", ");
    EXPECT_EQ(mistakeOfStep(R"({"expect": {"transition": []}})").substr(0, 39),
              ":2:27: unknown member \"transition\", exp");
}

} // namespace
} // namespace velk::scenarios
