#include "powerdistribution/alarms/AlarmConfigurationParser.h"

#include "powerdistribution/alarms/AlarmConfigurationError.h"
#include "tests/alarms/AlarmFile.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace velk::powerdistribution {
namespace {

using testing::AlarmFile;

const EPath lowRuntime{EStatus::LowRuntime};

std::optional<AlarmConfig> configOf(const std::string& content, const EPath& path = lowRuntime) {
    const AlarmFile file{content};
    return AlarmConfigurationParser{file.path()}.getConfig(path);
}

Trigger triggerOf(const std::string& members) {
    return configOf(AlarmFile::withTrigger(members)).value().triggers.at(0);
}

std::string failureOf(const std::string& members) {
    try {
        triggerOf(members);
    } catch (const PowerDistributionError& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(AlarmConfigurationParserTest, ATriggerTakesAllItsMembersFromTheFile) {
    const Trigger trigger = triggerOf(
        R"("type": "upper", "value": 2.5, "message": "Too high", "code": "high", "severity": "critical")");
    EXPECT_EQ(Trigger::Type::upper, trigger.type);
    EXPECT_EQ(Trigger::Level::critical, trigger.level);
    EXPECT_EQ(-1, trigger.priority);
    EXPECT_EQ(Value{2.5f}, trigger.threshold1);
    EXPECT_FALSE(trigger.threshold2.hasValue());
    EXPECT_EQ("high", trigger.code);
    EXPECT_EQ("Too high", trigger.message);
    EXPECT_EQ("", trigger.reference);
}

TEST(AlarmConfigurationParserTest, CodeAndSeverityMayBeMissing) {
    const Trigger trigger = triggerOf(R"("type": "value", "value": true, "message": "m")");
    EXPECT_EQ("", trigger.code);
    EXPECT_EQ(Trigger::Level::none, trigger.level);
    EXPECT_EQ(-1, trigger.priority);
}

TEST(AlarmConfigurationParserTest, TheJsonTypeDecidesTheTypeOfTheThreshold) {
    const auto threshold = [](const std::string& json) {
        return triggerOf(R"("type": "value", "message": "m", "value": )" + json).threshold1;
    };
    EXPECT_EQ(Value{std::string{"on"}}, threshold(R"("on")"));
    EXPECT_EQ(Value{false}, threshold("false"));
    EXPECT_EQ(Value{std::int32_t{-3}}, threshold("-3"));
    EXPECT_EQ(Value{10.0f}, threshold("10.0"));
    EXPECT_EQ(Value{100.0f}, threshold("1e2"));
}

TEST(AlarmConfigurationParserTest, AReferenceIsKeptAsItsText) {
    const Trigger trigger =
        triggerOf(R"("type": "lower", "reference": "Setting.LowRuntimeThreshold", "message": "m")");
    EXPECT_EQ("Setting.LowRuntimeThreshold", trigger.reference);
    EXPECT_FALSE(trigger.threshold1.hasValue());
}

TEST(AlarmConfigurationParserTest, ATypeMustBeThere) {
    EXPECT_EQ("Mandatory field is missing: \"type\"", failureOf(R"("value": 1, "message": "m")"));
}

TEST(AlarmConfigurationParserTest, WithoutTypeAndValueTheTypeIsMissedFirst) {
    EXPECT_EQ("Mandatory field is missing: \"type\"", failureOf(R"("message": "m")"));
}

TEST(AlarmConfigurationParserTest, ATypeMustBeOneOfTheTable) {
    EXPECT_EQ("Failed to convert \"type\": unexpected value (above)",
              failureOf(R"("type": "above", "value": 1, "message": "m")"));
}

TEST(AlarmConfigurationParserTest, ValueAndReferenceExcludeEachOtherInTheFirstWording) {
    EXPECT_EQ(
        "The \"value\" field and \"reference\" fields must not be declared in the same trigger",
        failureOf(R"("type": "value", "value": 1, "reference": "Setting.Temperature", "message": "m")"));
}

TEST(AlarmConfigurationParserTest, OneOfValueAndReferenceMustBeThere) {
    EXPECT_EQ("Mandatory field is missing: \"value\" or \"reference\"",
              failureOf(R"("type": "value", "message": "m")"));
}

TEST(AlarmConfigurationParserTest, AValueOfAnotherJsonTypeIsShownAsWritten) {
    EXPECT_EQ("Failed to convert \"value\": unexpected value ([1, 2])",
              failureOf(R"("type": "value", "value": [1, 2], "message": "m")"));
    EXPECT_EQ("Failed to convert \"value\": unexpected value (null)",
              failureOf(R"("type": "value", "value": null, "message": "m")"));
    EXPECT_EQ("Failed to convert \"value\": unexpected value ({\"a\": 1})",
              failureOf(R"("type": "value", "value": {"a": 1}, "message": "m")"));
}

TEST(AlarmConfigurationParserTest, AMessageMustBeThere) {
    EXPECT_EQ("Mandatory field is missing: message", failureOf(R"("type": "value", "value": 1)"));
}

TEST(AlarmConfigurationParserTest, AMissingMessageIsFoundBeforeABadSeverity) {
    EXPECT_EQ("Mandatory field is missing: message",
              failureOf(R"("type": "value", "value": 1, "severity": "error")"));
}

TEST(AlarmConfigurationParserTest, ABadSeverityIsCalledLevel) {
    EXPECT_EQ("Failed to convert \"level\": unexpected value (error)",
              failureOf(R"("type": "value", "value": 1, "message": "m", "severity": "error")"));
}

TEST(AlarmConfigurationParserTest, AFailureTellsWhereItIs) {
    const AlarmFile file{"{\n \"alarms\": {\"a\": {\"triggers\": [\n  {\"type\": \"above\"}\n]}}}"};
    try {
        AlarmConfigurationParser{file.path()};
        FAIL() << "parsed";
    } catch (const AlarmConfigurationError& failure) {
        EXPECT_EQ(3u, failure.position().line);
    }
}

TEST(AlarmConfigurationParserTest, OneBadTriggerLosesTheWholeFile) {
    const std::string content = R"({"alarms": {
        "Status.LowRuntime": {"triggers": [{"type": "value", "value": true, "message": "m"}]},
        "Status.Overload": {"triggers": [{"type": "value", "value": true}]}}})";
    EXPECT_THROW(configOf(content), PowerDistributionError);
}

TEST(AlarmConfigurationParserTest, PrioritiesCountEveryElementOfTheListAndTheFirstPlaceStays) {
    const std::string content = R"({
        "alarmPriorities": ["Status.LowRuntime.x", "b.y", "Status.LowRuntime.x", "Status.Overload.z"],
        "alarms": {
          "Status.LowRuntime": {"triggers": [{"type": "value", "value": 1, "message": "m", "code": "x"}]},
          "Status.Overload": {"triggers": [{"type": "value", "value": 1, "message": "m", "code": "z"}]}}})";
    EXPECT_EQ(0, configOf(content)->triggers.at(0).priority);
    EXPECT_EQ(3, configOf(content, {EStatus::Overload})->triggers.at(0).priority);
}

TEST(AlarmConfigurationParserTest, APriorityBelongsToTheAlarmAndItsCode) {
    const std::string content = R"({"alarmPriorities": ["Status.Overload.low"], "alarms": {
        "Status.LowRuntime": {"triggers": [
            {"type": "value", "value": 1, "message": "m", "code": "low"}]}}})";
    EXPECT_EQ(-1, configOf(content)->triggers.at(0).priority);
}

TEST(AlarmConfigurationParserTest, AReferenceWithoutCodeHasNoPriority) {
    const std::string content = R"({"alarmPriorities": ["Status.LowRuntime."], "alarms": {
        "Status.LowRuntime": {"triggers": [
            {"type": "lower", "reference": "Setting.Temperature", "message": "m"}]}}})";
    EXPECT_EQ(-1, configOf(content)->triggers.at(0).priority);
}

TEST(AlarmConfigurationParserTest, TriggersKeepTheOrderOfTheFile) {
    const auto config = configOf(R"({"alarms": {"Status.LowRuntime": {"triggers": [
        {"type": "value", "value": 2, "message": "two"},
        {"type": "value", "value": 1, "message": "one"}]}}})");
    ASSERT_EQ(2u, config->triggers.size());
    EXPECT_EQ("two", config->triggers[0].message);
    EXPECT_EQ("one", config->triggers[1].message);
}

TEST(AlarmConfigurationParserTest, AnAlarmWithoutTriggersHasAnEmptyConfiguration) {
    const auto config = configOf(R"({"alarms": {"Status.LowRuntime": {}}})");
    ASSERT_TRUE(config.has_value());
    EXPECT_TRUE(config->triggers.empty());
}

TEST(AlarmConfigurationParserTest, TheFirstOfTwoAlarmsOfOneNameStays) {
    const auto config = configOf(R"({"alarms": {
        "Status.LowRuntime": {"triggers": [{"type": "value", "value": 1, "message": "first"}]},
        "Status.LowRuntime": {"triggers": [{"type": "value", "value": 1, "message": "second"}]}}})");
    ASSERT_EQ(1u, config->triggers.size());
    EXPECT_EQ("first", config->triggers[0].message);
}

TEST(AlarmConfigurationParserTest, ADataPointThatTheFileDoesNotNameHasNoConfiguration) {
    EXPECT_FALSE(configOf(R"({"alarms": {"Status.LowRuntime": {}}})", {EStatus::Overload}).has_value());
    EXPECT_FALSE(configOf("{}").has_value());
}

TEST(AlarmConfigurationParserTest, TheWholePathIsTheKeyLiterally) {
    const std::string content = R"({"alarms": {"Inputs.1.Status.LowRuntime": {}}})";
    EXPECT_TRUE(configOf(content, {ECircuit::Inputs, 1u, EStatus::LowRuntime}).has_value());
    EXPECT_FALSE(configOf(content, {ECircuit::Inputs, 2u, EStatus::LowRuntime}).has_value());
    EXPECT_FALSE(configOf(content, lowRuntime).has_value());
}

TEST(AlarmConfigurationParserTest, TheEmptyPathIsLookedUpAsNull) {
    EXPECT_TRUE(configOf(R"({"alarms": {"Null": {}}})", EPath::Null).has_value());
    EXPECT_FALSE(configOf(R"({"alarms": {"": {}}})", EPath::Null).has_value());
}

TEST(AlarmConfigurationParserTest, OtherMembersAreIgnored) {
    const auto config = configOf(R"({"version": 7, "alarms": {"Status.LowRuntime": {"note": [], "triggers": [
        {"type": "value", "value": 1, "message": "m", "unit": null}]}}})");
    EXPECT_EQ(1u, config->triggers.size());
}

TEST(AlarmConfigurationParserTest, AFileThatCannotBeReadFailsAsAnEmptyOne) {
    const AlarmFile empty{""};
    std::string expected;
    try {
        AlarmConfigurationParser{empty.path()};
    } catch (const std::runtime_error& failure) {
        expected = failure.what();
    }
    ASSERT_FALSE(expected.empty());
    try {
        AlarmConfigurationParser{"/nonexistent/alarms.json"};
        FAIL() << "parsed";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(expected, failure.what());
    }
}

} // namespace
} // namespace velk::powerdistribution
