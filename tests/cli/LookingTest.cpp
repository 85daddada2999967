#include "tests/cli/TessTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::ordered_json;

class LookingTest : public test::TessTest {
protected:
    Json json(std::vector<std::string> arguments) {
        arguments.emplace_back("--json");
        EXPECT_EQ(tess(arguments), 0) << err;
        return Json::parse(out);
    }
};

TEST_F(LookingTest, StatusTellsDeviceModeCommunicationAndAlarms) {
    EXPECT_EQ(tess({"status"}), 0);
    EXPECT_THAT(out, ContainsRegex("Device +Test UPS 1500\n"));
    EXPECT_THAT(out, ContainsRegex("Serial +SN-1\n"));
    EXPECT_THAT(out, ContainsRegex("State +on line\n"));
    EXPECT_THAT(out, ContainsRegex("Service +in service\n"));
    EXPECT_THAT(out, ContainsRegex("Communication +connected since 20[0-9-]+ [0-9:]+ \\(just now\\)\n"));
    EXPECT_THAT(out, ContainsRegex("Alarms +none\n"));
    EXPECT_EQ(err, "");
}

TEST_F(LookingTest, StatusMarksTheLastKnownStateOfALostDevice) {
    sample.alarm(20, "Status.LowRuntime", "LOW");
    sample.set(20, "Status.LowRuntime", qz::CValue{true});
    sample.connect(false);
    EXPECT_EQ(tess({"status"}), 0);
    EXPECT_THAT(out, ContainsRegex("Device +Test UPS 1500 \\(last known\\)\n"));
    EXPECT_THAT(out, ContainsRegex("  critical  Status\\.LowRuntime  [a-z]+ \\(last known\\)  LOW\n"));
    EXPECT_THAT(out, ContainsRegex("Service +in service\n"));
    EXPECT_THAT(out, ContainsRegex("State +on line \\(last known\\)\n"));
    EXPECT_THAT(out, ContainsRegex("Communication +lost since "));
}

TEST_F(LookingTest, StatusAsJsonIsOneDocument) {
    sample.alarm(20, "Status.LowRuntime", "LOW");
    sample.set(20, "Status.LowRuntime", qz::CValue{true});
    const Json status = json({"status"});
    EXPECT_EQ(status["device"]["productName"], "Test UPS 1500");
    EXPECT_TRUE(status["device"]["model"].is_null());
    EXPECT_EQ(status["mode"]["value"], 2);
    EXPECT_EQ(status["mode"]["text"], "on line");
    EXPECT_TRUE(status["health"].is_null());
    EXPECT_EQ(status["communication"]["connected"], true);
    EXPECT_EQ(status["alarms"][0]["code"], "LOW");
    EXPECT_EQ(status["alarms"][0]["level"], "critical");
}

TEST_F(LookingTest, StatusAsJsonSaysOfEachPartWhetherItIsFresh) {
    sample.alarm(20, "Status.LowRuntime", "LOW");
    sample.set(20, "Status.LowRuntime", qz::CValue{true});
    sample.set(20, "Status.HealthState", qz::CValue{5U});
    for (const bool connected : {true, false}) {
        sample.connect(connected);
        const Json status = json({"status"});
        EXPECT_EQ(status["device"]["fresh"], connected);
        EXPECT_EQ(status["mode"]["fresh"], connected);
        EXPECT_EQ(status["health"]["fresh"], connected);
        EXPECT_EQ(status["alarms"][0]["fresh"], connected);
        EXPECT_EQ(status["service"]["fresh"], true);
    }
}

TEST_F(LookingTest, TreeShowsEveryPointUnderItsDevice) {
    EXPECT_EQ(tess({"tree"}), 0);
    EXPECT_THAT(out, HasSubstr("\n    PowerDistribution\n"));
    EXPECT_THAT(out, ContainsRegex("\n      Inputs\\.1  .Feed 1.\n        Measure\\.Voltage +230\\.1 V +20"));
    EXPECT_THAT(out, ContainsRegex("\n        Action\\.SwitchOff +- +never\n"));
    const Json tree = json({"tree"});
    EXPECT_EQ(tree["children"][0]["children"][0]["device"], "PowerDistribution");
    EXPECT_EQ(tree["children"][0]["children"][0]["children"][0]["points"][0]["value"], 230.1);
}

TEST_F(LookingTest, GetGivesValuesWithUnitsAndLabels) {
    EXPECT_EQ(tess({"get", "Inputs.1.Measure.Voltage", "Status.Mode", "Attribute.SerialNumber"}), 0);
    EXPECT_THAT(out, ContainsRegex("^Inputs\\.1\\.Measure\\.Voltage  230\\.1 V  20.*ago|now\\)\n"
                                   "Status\\.Mode +on line  20"));
    EXPECT_THAT(out, ContainsRegex("\nAttribute\\.SerialNumber +SN-1\n$"));
    EXPECT_EQ(err, "");
}

TEST_F(LookingTest, GetMarksEveryValueOfALostDeviceAsLastKnownAndSinceWhen) {
    sample.connect(false);
    EXPECT_EQ(tess({"get", "Outlets.*", "Inputs.*"}), 0);
    std::istringstream lines{out};
    std::string line;
    int count = 0;
    while (std::getline(lines, line)) {
        EXPECT_THAT(line, ContainsRegex("  last known, lost since 20"));
        ++count;
    }
    EXPECT_EQ(count, 4);
}

TEST_F(LookingTest, GetAsJsonIsAnArrayOfObjects) {
    sample.connect(false);
    const Json points = json({"get", "Inputs.1.Measure.Voltage", "Outlets.1.Action.SwitchOn"});
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[0]["path"], "Inputs.1.Measure.Voltage");
    EXPECT_EQ(points[0]["value"].dump(), "230.1");
    EXPECT_EQ(points[0]["type"], "float32");
    EXPECT_EQ(points[0]["unit"], "V");
    EXPECT_EQ(points[0]["fresh"], false);
    EXPECT_THAT(points[0]["changed"].get<std::string>(), ContainsRegex("^20.*T.*\\.[0-9][0-9][0-9]Z$"));
    EXPECT_TRUE(points[1]["value"].is_null());
}

TEST_F(LookingTest, GetOfAWrongPathNamesTheNearestAndShowsTheRest) {
    EXPECT_EQ(tess({"get", "Inputs.1.Measure.Voltge", "Status.Mode"}), 4);
    EXPECT_EQ(err, "tess: no such path: \"Inputs.1.Measure.Voltge\"; did you mean "
                   "\"Inputs.1.Measure.Voltage\"?\n");
    EXPECT_THAT(out, HasSubstr("Status.Mode"));
}

TEST_F(LookingTest, DevicesAndChannelsShowTheStoreAsItIs) {
    EXPECT_EQ(tess({"devices"}), 0);
    EXPECT_THAT(out, ContainsRegex("^ID +PARENT +UUID +CHANNELS +DEVICE\n1 +- "));
    EXPECT_THAT(out, ContainsRegex("\n20 +2 +[0-9a-f-]+ +6 +PowerDistribution\n"));
    EXPECT_EQ(json({"devices"})[2]["channels"], 6);
    EXPECT_EQ(tess({"channels", "Status.Mode"}), 0);
    EXPECT_THAT(out, ContainsRegex("\n[0-9]+ +Status\\.Mode +uint32 "));
    const Json channel = json({"channels", "Status.Mode"})[0];
    EXPECT_EQ(channel["name"], "PowerDistribution.Status.Mode");
    EXPECT_EQ(channel["device"], 20);
    EXPECT_FALSE(channel["states"].empty());
    EXPECT_EQ(tess({"channels", "Status.Mod"}), 4);
}

TEST_F(LookingTest, AlarmsShowsWhatIsActive) {
    EXPECT_EQ(tess({"alarms"}), 0);
    EXPECT_EQ(out, "");
    EXPECT_EQ(err, "tess: no active alarms\n");
    EXPECT_EQ(json({"alarms"}), Json::array());
    sample.alarm(20, "Status.LowRuntime", "LOW");
    sample.set(20, "Status.LowRuntime", qz::CValue{true});
    EXPECT_EQ(tess({"alarms"}), 0);
    EXPECT_THAT(out, ContainsRegex("^critical  Status\\.LowRuntime  [a-z]+  LOW  20"));
    EXPECT_EQ(json({"alarms"})[0]["fresh"], true);
}

TEST_F(LookingTest, AlarmsThatWereRaisedAndClearedStayInTheStore) {
    sample.alarm(20, "Status.LowRuntime", "LOW");
    sample.set(20, "Status.LowRuntime", qz::CValue{true});
    sample.set(20, "Status.LowRuntime", qz::CValue{false});
    EXPECT_EQ(tess({"alarms", "--history"}), 0);
    EXPECT_THAT(out, ContainsRegex("critical  raised   Status\\.LowRuntime .*  LOW .*\n.*critical  cleared  "
                                   "Status\\.LowRuntime .*  LOW  after [0-9]+ s"));
    const Json history = json({"alarms", "--history", "--since", "1h", "--path", "Status.*"});
    ASSERT_EQ(history.size(), 2U);
    EXPECT_EQ(history[1]["event"], "cleared");
    EXPECT_EQ(json({"alarms", "--history", "--path", "Inputs.*"}), Json::array());
}

TEST_F(LookingTest, EventsShowsAlarmsAndWritesWithoutADaemon) {
    sample.alarm(20, "Status.LowRuntime", "LOW");
    sample.set(20, "Status.LowRuntime", qz::CValue{true});
    EXPECT_EQ(tess({"set", "Outlets.1.Setting.AutomaticSwitchOffDelay", "30"}), 7);
    EXPECT_EQ(tess({"events", "--since", "1h"}), 0);
    EXPECT_THAT(out, ContainsRegex("alarm  Status\\.LowRuntime .*  critical LOW raised: "));
    EXPECT_THAT(out,
                ContainsRegex("write  Outlets\\.1\\.Setting\\.AutomaticSwitchOffDelay  30 s asked for by "
                              ".* with tess: nobody took it: no daemon has ever kept notes"));
    EXPECT_EQ(json({"events", "--path", "Outlets.1"})[0]["asked"], "30");
    EXPECT_EQ(tess({"events", "--since", "tomorrow"}), 2);
    EXPECT_THAT(err, HasSubstr("tess: \"tomorrow\" is no time; expected how long ago (90s, 15m, 1h, 2d)"));
}

TEST_F(LookingTest, APipeGetsNoColours) {
    sample.connect(false);
    EXPECT_EQ(tess({"tree"}), 0);
    EXPECT_THAT(out, Not(HasSubstr("\033")));
}

TEST_F(LookingTest, AStoreThatIsNotThereIsReportedByName) {
    velk::testing::ChildProcess program{{VELK_BINARY_DIR "/bin/tess", "status"},
                                        {"TESS_URL=sqlite:/nonexistent/tess.db"}};
    EXPECT_EQ(program.finish(), 5);
    EXPECT_EQ(program.output(), "");
    EXPECT_THAT(program.errors(), HasSubstr("sqlite:/nonexistent/tess.db"));
}

TEST_F(LookingTest, ABadUrlIsABadConfigurationOrABadArgument) {
    velk::testing::ChildProcess configured{{VELK_BINARY_DIR "/bin/tess", "status"}, {"TESS_URL=nonsense"}};
    EXPECT_EQ(configured.finish(), 3);
    EXPECT_EQ(tess({"status", "--store", "nonsense"}), 2);
}

TEST_F(LookingTest, AUsageErrorIsTwoAndHelpIsNone) {
    EXPECT_EQ(tess({}), 2);
    EXPECT_EQ(tess({"get"}), 2);
    EXPECT_EQ(tess({"frobnicate"}), 2);
    EXPECT_EQ(out, "");
    EXPECT_EQ(tess({"--help"}), 0);
    EXPECT_THAT(out, HasSubstr("Exit codes: 0 done, 1 refused or failed, 2 usage"));
}

} // namespace
} // namespace velk::cli
