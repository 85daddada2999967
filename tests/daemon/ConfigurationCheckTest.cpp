#include "daemon/ConfigurationCheck.h"

#include "testing/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace velk::daemon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class ConfigurationCheckTest : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& text) {
        std::ofstream{folder / name} << text;
        return (folder / name).string();
    }

    /// The findings' texts without the folder in front; a warning ends with " (warning)".
    static std::vector<std::string> shortened(const Findings& findings, const std::string& directory) {
        std::vector<std::string> texts;
        for (const Finding& finding : findings) {
            std::string text = finding.text;
            for (std::size_t at = text.find(directory); at != std::string::npos; at = text.find(directory)) {
                text.erase(at, directory.size());
            }
            texts.push_back(text + (finding.severity == Finding::Severity::Warning ? " (warning)" : ""));
        }
        return texts;
    }

    std::vector<std::string> file(const std::string& text) {
        return shortened(checkFile(write("velk.json", text)), folder.path().string() + "/");
    }

    std::vector<std::string> all(const std::string& text) {
        return shortened(checkConfiguration(write("velk.json", text)), folder.path().string() + "/");
    }

    void install(const std::string& plugin, const std::string& name) {
        std::filesystem::copy_file(std::string{VELK_BINARY_DIR "/tests/daemon-plugins/lib"} + plugin + ".so",
                                   folder / name);
    }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(ConfigurationCheckTest, AGoodFileHasNoFinding) {
    EXPECT_THAT(file(R"({"maxThreads": 5, "maxCpuLoadPercent": "10", "maxRestTimeMs": 1000,
                         "protocolLibraries": ["x"], "nut": {"host": "h"}})"),
                IsEmpty());
    EXPECT_THAT(file("{}"), IsEmpty());
}

TEST_F(ConfigurationCheckTest, AFileThatIsNotThereIsNamedWithTheReason) {
    const Findings findings = checkFile((folder / "none.json").string());
    EXPECT_THAT(
        shortened(findings, folder.path().string() + "/"),
        ElementsAre("none.json:1:1: cannot be read: No such file or directory; expected a JSON object"));
    EXPECT_TRUE(hasError(findings));
}

TEST_F(ConfigurationCheckTest, AFolderIsNoFile) {
    const Findings findings = checkFile(folder.path().string());
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_THAT(findings[0].text, HasSubstr(":1:1: cannot be read: "));
}

TEST_F(ConfigurationCheckTest, BadJsonIsFoundAtItsLineAndColumn) {
    EXPECT_THAT(file("{\n  \"maxThreads\": }"), ElementsAre(StartsWith("velk.json:2:17: ")));
    EXPECT_THAT(file(""), ElementsAre(StartsWith("velk.json:1:1: ")));
}

TEST_F(ConfigurationCheckTest, SomethingElseThanAnObjectIsNoConfiguration) {
    EXPECT_THAT(file("\n[1]"), ElementsAre("velk.json:2:1: expected a JSON object"));
}

TEST_F(ConfigurationCheckTest, ANumberOutOfItsRangeIsFoundWhereItStands) {
    EXPECT_THAT(
        file("{\"maxThreads\": 0,\n \"maxCpuLoadPercent\": 101, \"maxRestTimeMs\": 3600001}"),
        ElementsAre("velk.json:1:16: \"maxThreads\": expected a whole number from 1 to 256 (worker threads), "
                    "not 0",
                    "velk.json:2:23: \"maxCpuLoadPercent\": expected a whole number from 1 to 100 (percent "
                    "of one core), not 101",
                    "velk.json:2:45: \"maxRestTimeMs\": expected a whole number from 1 to 3600000 "
                    "(milliseconds), not 3600001"));
}

TEST_F(ConfigurationCheckTest, TheEndsOfTheRangesAreGood) {
    EXPECT_THAT(file(R"({"maxThreads": 1, "maxCpuLoadPercent": 1, "maxRestTimeMs": 1})"), IsEmpty());
    EXPECT_THAT(file(R"({"maxThreads": 256, "maxCpuLoadPercent": 100, "maxRestTimeMs": 3600000})"),
                IsEmpty());
}

TEST_F(ConfigurationCheckTest, WhatIsNoWholeNumberIsRefused) {
    for (const char* value : {"-1", "1.5", "true", "null", "\"five\"", "[5]", "{}", "99999999999"}) {
        const std::vector<std::string> found = file(std::string{"{\"maxThreads\": "} + value + "}");
        ASSERT_EQ(found.size(), 1U) << value;
        EXPECT_THAT(found[0], HasSubstr("expected a whole number from 1 to 256"));
    }
}

TEST_F(ConfigurationCheckTest, UnknownMembersAreWarnedOfButSectionsAreNot) {
    const Findings findings = checkFile(write("velk.json", R"({"maxThread": 5, "nut": {}})"));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].severity, Finding::Severity::Warning);
    EXPECT_THAT(findings[0].text, HasSubstr("\"maxThread\" is ignored; expected maxThreads, "));
    EXPECT_FALSE(hasError(findings));
}

TEST_F(ConfigurationCheckTest, TheChoiceOfTheHostsFactsIsChecked) {
    EXPECT_THAT(file(R"({"host": {"interface": "eth0"}})"), IsEmpty());
    EXPECT_THAT(file(R"({"host": {"interface": true}})"),
                ElementsAre("velk.json:1:24: \"interface\": expected a text, not true"));
}

TEST_F(ConfigurationCheckTest, WhatBecomesOfACorruptStoreIsChecked) {
    EXPECT_THAT(file(R"({"store": {"whenCorrupt": "set-aside"}})"), IsEmpty());
    EXPECT_THAT(file(R"({"store": {"whenCorrupt": "refuse"}})"), IsEmpty());
    EXPECT_THAT(
        file(R"({"store": {"whenCorrupt": "delete"}})"),
        ElementsAre("velk.json:1:27: \"whenCorrupt\": expected \"refuse\" or \"set-aside\", not delete"));
    EXPECT_THAT(file(R"({"store": true})"),
                ElementsAre("velk.json:1:11: \"store\": expected an object with whenCorrupt"));
    EXPECT_THAT(file("{\"store\":\n {\"whenCorrupt\": \"refuse\", \"whenCorrupt\": 1,\n  \"keep\": 5}}"),
                ElementsAre("velk.json:2:43: \"whenCorrupt\" is ignored: the first one counts (warning)",
                            "velk.json:3:11: \"keep\" is ignored; expected whenCorrupt (warning)"));
}

TEST_F(ConfigurationCheckTest, ASecondMemberOfTheSameNameIsWarnedOf) {
    EXPECT_THAT(file(R"({"maxThreads": 5, "maxThreads": 0})"),
                ElementsAre("velk.json:1:33: \"maxThreads\" is ignored: the first one counts (warning)"));
}

TEST_F(ConfigurationCheckTest, ThePluginListIsAnArrayOfNames) {
    EXPECT_THAT(file(R"({"protocolLibraries": "x"})"),
                ElementsAre("velk.json:1:23: \"protocolLibraries\": expected an array of files and folders"));
    EXPECT_THAT(
        file(R"({"protocolLibraries": ["x", 5]})"),
        ElementsAre("velk.json:1:29: \"protocolLibraries\": expected the name of a file or folder, not 5"));
}

TEST_F(ConfigurationCheckTest, APluginThatIsNotThereIsAnError) {
    EXPECT_THAT(
        all(R"({"protocolLibraries": ["none.so"]})"),
        ElementsAre("velk.json:1:24: expected a plug-in or a folder of plug-ins, but none.so is not there"));
}

TEST_F(ConfigurationCheckTest, AFolderWithoutPluginsIsAWarning) {
    std::filesystem::create_directory(folder / "empty");
    EXPECT_THAT(all(R"({"protocolLibraries": ["empty"]})"),
                ElementsAre("velk.json:1:24: expected plug-ins (*.so) in empty, there are none (warning)",
                            "velk.json:1:1: no protocol plug-in: no device will be found (warning)"));
}

TEST_F(ConfigurationCheckTest, APluginThatCannotBeLoadedIsAnError) {
    write("bad.so", "no library");
    EXPECT_THAT(all(R"({"protocolLibraries": ["bad.so"]})"),
                ElementsAre(StartsWith("velk.json:1:24: expected a plug-in that can be loaded: bad.so: ")));
}

TEST_F(ConfigurationCheckTest, ALibraryThatIsNoPluginIsAWarning) {
    install("other_library", "other.so");
    EXPECT_THAT(all(R"({"protocolLibraries": ["other.so"]})"),
                ElementsAre("velk.json:1:24: other.so is no protocol plug-in and is passed over (warning)",
                            "velk.json:1:1: no protocol plug-in: no device will be found (warning)"));
}

TEST_F(ConfigurationCheckTest, APluginChecksItsOwnSection) {
    install("checked_plugin", "plugin.so");
    EXPECT_THAT(all(R"({"protocolLibraries": ["plugin.so"]})"), IsEmpty());
    EXPECT_THAT(all(R"({"protocolLibraries": ["plugin.so"], "reject": {}})"),
                ElementsAre("velk.json:7:9: expected \"host\""));
}

TEST_F(ConfigurationCheckTest, WithoutAListThePluginsLieBesideTheFile) {
    install("checked_plugin", "plugin.so.2");
    EXPECT_THAT(all("{}"), IsEmpty());
    EXPECT_THAT(all(R"({"reject": {}})"), ElementsAre("velk.json:7:9: expected \"host\""));
}

TEST_F(ConfigurationCheckTest, AnAlarmFileIsReadAsTheLibraryReadsIt) {
    install("checked_plugin", "plugin.so");
    write("alarms.json", R"({"alarmPriorities": [], "alarms": {}, "triggers": {}})");
    EXPECT_THAT(all(R"({"some": {"alarmFile": "alarms.json"}})"), IsEmpty());
    write("alarms.json", "{\n\"alarms\": {\"Status.LowRuntime\": {\"triggers\": [{\"value\": true}]}}}");
    EXPECT_THAT(all(R"({"some": {"alarmFile": "alarms.json"}})"), ElementsAre(StartsWith("alarms.json:2:")));
    write("alarms.json", "{\"alarms\": ");
    EXPECT_THAT(all(R"({"some": {"alarmFile": "alarms.json"}})"), ElementsAre(StartsWith("alarms.json:1:")));
}

TEST_F(ConfigurationCheckTest, AnAlarmFileThatIsNotThereIsFoundWhereItIsNamed) {
    install("checked_plugin", "plugin.so");
    EXPECT_THAT(
        all(R"({"some": {"alarmFile": "none.json"}})"),
        ElementsAre("velk.json:1:24: \"alarmFile\": expected an alarm file, but none.json is not there"));
    EXPECT_THAT(all(R"({"some": {"alarmFile": 5}})"),
                ElementsAre("velk.json:1:24: \"alarmFile\": expected the name of a file, not 5"));
    EXPECT_THAT(all(R"({"some": {"alarmFile": null}})"), IsEmpty());
}

} // namespace
} // namespace velk::daemon
