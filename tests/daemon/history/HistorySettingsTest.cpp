#include "daemon/history/HistorySettings.h"

#include "daemon/ConfigurationCheck.h"
#include "daemon/ConfigurationFile.h"
#include "testing/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace velk::daemon {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HistorySettingsTest : public ::testing::Test {
protected:
    HistorySettings settings(const std::string& json) {
        std::ofstream{folder / "velk.json"} << json;
        Findings findings;
        return HistorySettings::of(
            ConfigurationFile::read((folder / "velk.json").string(), findings).value());
    }

    std::vector<std::string> complaints(const std::string& json) {
        std::ofstream{folder / "velk.json"} << json;
        std::vector<std::string> texts;
        for (const Finding& finding : checkFile((folder / "velk.json").string())) {
            texts.push_back(finding.text +
                            (finding.severity == Finding::Severity::Warning ? " (warning)" : ""));
        }
        return texts;
    }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(HistorySettingsTest, WithoutTheMemberItIsOnInMemoryWithEightMiB) {
    const HistorySettings chosen = settings("{}");
    EXPECT_TRUE(chosen.enabled);
    EXPECT_TRUE(chosen.file.empty());
    EXPECT_EQ(chosen.limitBytes, 8U << 20U);
    EXPECT_EQ(chosen.saveEvery, std::chrono::minutes{15});
}

TEST_F(HistorySettingsTest, EveryMemberCounts) {
    const char* json =
        R"({"history": {"enabled": false, "file": "h.bin", "limitKiB": 64, "saveEveryMinutes": 1}})";
    const HistorySettings chosen = settings(json);
    EXPECT_FALSE(chosen.enabled);
    EXPECT_EQ(chosen.file, folder / "h.bin");
    EXPECT_EQ(chosen.limitBytes, 64U * 1024);
    EXPECT_EQ(chosen.saveEvery, std::chrono::minutes{1});
    EXPECT_THAT(complaints(json), IsEmpty());
}

TEST_F(HistorySettingsTest, WhatIsNotUsableIsToldAndCountsAsNotThere) {
    const char* json =
        R"({"history": {"enabled": 1, "file": "", "limitKiB": 63, "saveEveryMinutes": 1441, "x": 1}})";
    const HistorySettings chosen = settings(json);
    EXPECT_TRUE(chosen.enabled);
    EXPECT_TRUE(chosen.file.empty());
    EXPECT_EQ(chosen.limitBytes, 8U << 20U);
    EXPECT_EQ(chosen.saveEvery, std::chrono::minutes{15});
    EXPECT_THAT(
        complaints(json),
        ElementsAre(
            HasSubstr("\"enabled\": expected true or false, not 1"),
            HasSubstr("\"file\": expected the name of a file, not "),
            HasSubstr("\"limitKiB\": expected a whole number from 64 to 1048576 (KiB of memory), not 63"),
            HasSubstr("\"saveEveryMinutes\": expected a whole number from 1 to 1440 (minutes), not 1441"),
            HasSubstr("\"x\" is ignored; expected enabled, file, limitKiB or saveEveryMinutes (warning)")));
}

TEST_F(HistorySettingsTest, AFileThatCanBeNoneIsAnError) {
    EXPECT_THAT(
        complaints(R"({"history": {"file": "nodir/hist"}})"),
        ElementsAre(HasSubstr("velk.json:1:22: \"file\": expected a file in a folder that is there, but " +
                              (folder / "nodir").string() + " is none")));
    std::filesystem::create_directory(folder / "hist");
    EXPECT_THAT(complaints(R"({"history": {"file": "hist"}})"),
                ElementsAre(HasSubstr("expected the name of a file, but " + (folder / "hist").string() +
                                      " is something else")));
    EXPECT_THAT(complaints(R"({"history": {"file": "hist/h"}})"), IsEmpty());
}

TEST_F(HistorySettingsTest, AFolderThatCannotBeWrittenIsAWarning) {
    EXPECT_THAT(complaints(R"({"history": {"file": "/proc/hist"}})"),
                ElementsAre(AllOf(HasSubstr("the history cannot be saved by this user: /proc: "),
                                  ::testing::EndsWith(" (warning)"))));
}

TEST_F(HistorySettingsTest, AnythingButAnObjectIsAnErrorAndASecondMemberIsIgnored) {
    EXPECT_THAT(complaints(R"({"history": true})"),
                ElementsAre(HasSubstr("\"history\": expected an object with enabled, file, limitKiB or "
                                      "saveEveryMinutes")));
    EXPECT_THAT(complaints(R"({"history": {"limitKiB": 64, "limitKiB": 65}})"),
                ElementsAre(HasSubstr("\"limitKiB\" is ignored: the first one counts (warning)")));
}

} // namespace
} // namespace velk::daemon
