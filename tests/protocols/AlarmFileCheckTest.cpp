#include "powerdistribution/protocols/AlarmFileCheck.h"

#include "powerdistribution/alarms/AlarmConfigurationParser.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <exception>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using velk::powerdistribution::AlarmConfigurationParser;
using velk::powerdistribution::protocols::checkAlarmFile;

class AlarmFileCheckTest : public ::testing::Test {
protected:
    /// What the check says of a file with this text, without the file's name; empty for nothing.
    std::string check(const std::string& text) {
        std::ofstream{file} << text;
        ::testing::internal::CaptureStderr();
        const auto mistake = checkAlarmFile(file);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
        if (!mistake) {
            return "";
        }
        EXPECT_EQ(mistake->substr(0, file.size()), file);
        return mistake->substr(file.size());
    }
    /// The same for a file with one trigger, which stands at line 2, column 1.
    std::string checkTrigger(const std::string& trigger) {
        return check("{\"alarms\": {\"Status.Mode\": {\"triggers\": [\n" + trigger + "\n]}}}");
    }
    bool parserAccepts() const {
        try {
            const AlarmConfigurationParser parser{file};
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }

    const velk::testing::TemporaryDirectory folder;
    const std::string file = folder / "alarms.json";
};

TEST_F(AlarmFileCheckTest, GoodFileGivesNothing) {
    EXPECT_EQ(check(R"({"alarmPriorities": ["Status.Mode.x"], "alarms": {"Status.Mode": {"triggers": [
        {"type": "value", "value": 3, "severity": "warning", "code": "x", "message": "On battery"},
        {"type": "upper", "reference": "Setting.VoltageHighDetection", "message": "High"}]}}})"),
              "");
}

TEST_F(AlarmFileCheckTest, TriggerIsToldWithLineAndColumnOfItsPlace) {
    EXPECT_EQ(checkTrigger(R"({"value": 3, "message": "m"})"), ":2:1: Mandatory field is missing: \"type\"");
    EXPECT_EQ(checkTrigger(R"({"type": "value", "message": "m"})"),
              ":2:1: Mandatory field is missing: \"value\" or \"reference\"");
    EXPECT_EQ(checkTrigger(R"({"type": "value", "value": 3})"), ":2:1: Mandatory field is missing: message");
}

TEST_F(AlarmFileCheckTest, FieldIsToldWithLineAndColumnOfItsValue) {
    EXPECT_EQ(checkTrigger(R"({"type": "odd", "value": 3, "message": "m"})"),
              ":2:10: Failed to convert \"type\": unexpected value (odd)");
    EXPECT_EQ(checkTrigger(R"({"type": "value", "value": 3, "message": "m", "severity": "error"})"),
              ":2:59: Failed to convert \"level\": unexpected value (error)");
}

TEST_F(AlarmFileCheckTest, MistakeIsOneLine) {
    const std::string mistake = checkTrigger("{\"type\": \"value\", \"message\": \"m\", \"value\": [1,\n2]}");
    EXPECT_EQ(mistake, ":2:44: Failed to convert \"value\": unexpected value ([1, 2])");
}

TEST_F(AlarmFileCheckTest, MalformedTextIsToldWithItsPlace) {
    EXPECT_EQ(check("{\n  \"alarms\": }").substr(0, 6), ":2:13:");
}

TEST_F(AlarmFileCheckTest, EmptyAndMissingFilesAreMistakes) {
    EXPECT_EQ(check("").substr(0, 6), ":1:1: ");
    EXPECT_EQ(checkAlarmFile(folder / "nowhere.json"),
              (folder / "nowhere.json").string() + ":1:1: No such file or directory");
}

TEST_F(AlarmFileCheckTest, AgreesWithTheParser) {
    const std::string trigger =
        R"({"alarms": {"a": {"triggers": [{"type": "value", "message": "m", "value": )";
    const std::vector<std::pair<std::string, bool>> verdicts{
        {"", false},
        {"{}", true},
        {"[]", true},
        {R"({"alarms": []})", true},
        {R"({"alarms": {"a": 3}})", true},
        {R"({"alarms": {"a": {"triggers": 3}}})", true},
        {R"({"alarms": {"a": {"triggers": [3]}}})", false},
        {R"({"alarmPriorities": 3})", true},
        {R"({"alarmPriorities": [3]})", false},
        {trigger + "1}]}}}", true},
        {trigger + "1}]}}} x", false},
        {trigger + "99999999999}]}}}", false},
        {trigger + "1e99}]}}}", false},
        {trigger + "null}]}}}", false},
    };
    for (const auto& [text, isGood] : verdicts) {
        EXPECT_EQ(check(text).empty(), isGood) << text;
        EXPECT_EQ(parserAccepts(), isGood) << text;
    }
}

} // namespace
