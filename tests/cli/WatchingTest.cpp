#include "cli/JournalEntry.h"
#include "cli/TimeText.h"
#include "platform/common/ProcessMark.h"
#include "platform/tessapi/StoreBrowser.h"
#include "tests/cli/SampleStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::ordered_json;
using velk::testing::ChildProcess;

class WatchingTest : public ::testing::Test {
protected:
    /// Writes until the first line comes: only then is it sure that `tess` watches.
    void startWatching(ChildProcess& program, const char* path = "Inputs.1.Measure.Voltage") {
        ASSERT_TRUE(program.awaitErrors("watching"));
        sample.set(sample.input, "Measure.Voltage", qz::CValue{1.0F});
        ASSERT_TRUE(program.awaitOutput(path));
    }

    test::SampleStore sample;
};

TEST_F(WatchingTest, ShowsEachChangeAsItComes) {
    const auto program = sample.start({"watch", "--interval", "0", "--count", "2"});
    startWatching(*program);
    sample.set(20, "Status.Mode", qz::CValue{3U});
    EXPECT_EQ(program->finish(), 0);
    EXPECT_THAT(program->output(),
                ContainsRegex("^[0-9:]+\\.[0-9]+  Inputs\\.1\\.Measure\\.Voltage +230\\.1 -> 1 V\n"
                              "[0-9:]+\\.[0-9]+  Status\\.Mode +on line -> on battery\n$"));
}

TEST_F(WatchingTest, AWriteThatChangesNothingIsShownOnlyOnDemand) {
    const auto changes = sample.start({"watch", "--interval", "0", "--count", "2"});
    const auto every = sample.start({"watch", "--interval", "0", "--every", "--count", "3"});
    startWatching(*changes);
    ASSERT_TRUE(every->awaitErrors("watching"));
    sample.set(20, "Status.Mode", qz::CValue{2U});
    sample.set(20, "Status.Mode", qz::CValue{2U});
    sample.set(20, "Status.Mode", qz::CValue{3U});
    EXPECT_EQ(changes->finish(), 0);
    EXPECT_EQ(every->finish(), 0);
    EXPECT_THAT(changes->output(), Not(HasSubstr("unchanged")));
    EXPECT_THAT(every->output(), ContainsRegex("Status\\.Mode +on line \\(unchanged\\)\n"));
}

TEST_F(WatchingTest, ShowsOnlyThePathsAskedFor) {
    const auto program = sample.start({"watch", "--interval", "0", "Inputs.*", "--count", "2"});
    startWatching(*program);
    sample.set(20, "Status.Mode", qz::CValue{3U});
    sample.set(sample.input, "Measure.Voltage", qz::CValue{2.0F});
    EXPECT_EQ(program->finish(), 0);
    EXPECT_THAT(program->output(), Not(HasSubstr("Status.Mode")));
    EXPECT_THAT(program->output(), HasSubstr("2 V"));
}

TEST_F(WatchingTest, AsJsonEachLineIsAnObject) {
    const auto program = sample.start({"watch", "--interval", "0", "--json", "--count", "2"});
    startWatching(*program);
    sample.connect(false);
    EXPECT_EQ(program->finish(), 0);
    std::istringstream lines{program->output()};
    std::string line;
    std::getline(lines, line);
    const Json first = Json::parse(line);
    EXPECT_EQ(first["path"], "Inputs.1.Measure.Voltage");
    EXPECT_EQ(first["value"], 1.0);
    EXPECT_EQ(first["fresh"], true);
    std::getline(lines, line);
    EXPECT_EQ(Json::parse(line)["text"], "lost");
}

TEST_F(WatchingTest, AfterALossValuesAreMarkedAsLastKnown) {
    const auto program = sample.start({"watch", "--interval", "0", "--count", "3"});
    startWatching(*program);
    sample.connect(false);
    sample.set(20, "Status.Mode", qz::CValue{3U});
    EXPECT_EQ(program->finish(), 0);
    EXPECT_THAT(program->output(),
                ContainsRegex("Status\\.Mode +on line -> on battery  last known, lost since 20"));
}

TEST_F(WatchingTest, WhenTheDaemonComesToWorkValuesAreFreshAgain) {
    tessapi::InBandAccessor& inband = sample.store->inbandAccessor();
    const std::uint64_t daemon = sample.store->emplaceDevice(JournalEntry::deviceUuid(), 1, 0);
    const std::uint64_t process = inband.emplaceChannel(daemon, "Daemon.Process", false);
    inband.setChannelCValue(process, qz::CValue{""});
    const auto program = sample.start({"watch", "--interval", "0", "--count", "2"});
    startWatching(*program);
    inband.setChannelCValue(process, qz::CValue{velk::common::ProcessMark::ofThisProcess()});
    sample.set(20, "Status.Mode", qz::CValue{3U});
    EXPECT_EQ(program->finish(), 0);
    EXPECT_THAT(program->output(), ContainsRegex("Voltage +230\\.1 -> 1 V  last known, not watched: "));
    EXPECT_THAT(program->output(), ContainsRegex("Status\\.Mode +on line -> on battery\n"));
}

TEST_F(WatchingTest, AWriteThatChangesNothingKeepsTheTimeOfTheLastChange) {
    const auto program = sample.start({"watch", "--interval", "0", "--json", "--every", "--count", "4"});
    startWatching(*program);
    const tessapi::StoreSnapshot before = sample.store->browser().snapshot();
    std::int64_t modeSince = 0;
    for (const tessapi::ChannelRecord& channel : before.channels) {
        modeSince = channel.name == "PowerDistribution.Status.Mode" ? channel.changedMs : modeSince;
    }
    sample.set(20, "Status.Mode", qz::CValue{2U});
    sample.set(sample.input, "Measure.Voltage", qz::CValue{1.0F});
    sample.set(20, "Status.Mode", qz::CValue{3U});
    EXPECT_EQ(program->finish(), 0);
    std::vector<Json> lines;
    std::istringstream output{program->output()};
    for (std::string line; std::getline(output, line);) {
        lines.push_back(Json::parse(line));
    }
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[1]["path"], "Status.Mode");
    EXPECT_EQ(lines[1]["changed"], utcText(modeSince));
    EXPECT_EQ(lines[2]["changed"], lines[0]["changed"]);
    EXPECT_NE(lines[3]["changed"], lines[1]["changed"]);
}

TEST_F(WatchingTest, ABurstOfChangesMakesFewLinesThatAccountForAllOfIt) {
    const auto program = sample.start({"watch", "--json"});
    startWatching(*program);
    for (int i = 1; i <= 300; ++i) {
        sample.set(sample.input, "Measure.Voltage", qz::CValue{static_cast<float>(i * 10)});
    }
    sample.set(20, "Status.Mode", qz::CValue{3U});
    ASSERT_TRUE(program->awaitOutput("on battery"));
    program->signal(SIGINT);
    EXPECT_EQ(program->finish(), 0);
    int lines = 0;
    int changes = 0;
    Json last;
    std::istringstream output{program->output()};
    for (std::string line; std::getline(output, line); ++lines) {
        const Json change = Json::parse(line);
        if (change["path"] == "Inputs.1.Measure.Voltage") {
            EXPECT_TRUE(last.is_null() || last["value"] == change["old"]);
            changes += change["changes"].get<int>();
            last = change;
        }
    }
    EXPECT_EQ(changes, 301);
    EXPECT_EQ(last["value"], 3000.0);
    EXPECT_LT(lines, 30);
}

TEST_F(WatchingTest, ChannelsThatComeIntoBeingLaterAreShownToo) {
    const auto program = sample.start({"watch", "--interval", "0", "--count", "2"});
    startWatching(*program);
    sample.set(sample.outlet, "Status.SwitchedOn", qz::CValue{true});
    EXPECT_EQ(program->finish(), 0);
    EXPECT_THAT(program->output(), HasSubstr("Outlets.1.Status.SwitchedOn"));
}

TEST_F(WatchingTest, EndsWithZeroWhenItIsInterrupted) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const auto program = sample.start({"watch", "--interval", "0"});
        ASSERT_TRUE(program->awaitErrors("watching"));
        program->signal(signal);
        EXPECT_EQ(program->finish(), 0);
    }
}

TEST_F(WatchingTest, EndsAfterTheTimeAskedFor) {
    EXPECT_EQ(sample.start({"watch", "--interval", "0", "--for", "0.1"})->finish(), 0);
}

TEST_F(WatchingTest, LogsFollowTheDevicesLogOverProcesses) {
    tessapi::InBandAccessor& inband = sample.store->inbandAccessor();
    const std::uint64_t daemon = sample.store->emplaceDevice(JournalEntry::deviceUuid(), 1, 0);
    inband.setDeviceAttribute(daemon, tessapi::DeviceAttribute::path, "Daemon");
    const std::uint64_t log = inband.emplaceChannel(daemon, "Daemon.DeviceLog", false);
    const auto note = [&](const std::string& entries, const std::string& error) {
        inband.setChannelCValue(log, qz::CValue{R"({"device":")" + sample.store->uuidOf(20).toString() +
                                                R"(","error":)" + error + R"(,"errorTime":1,"entries":[)" +
                                                entries + "]}"});
    };
    const std::string one =
        R"({"sequence":1,"id":40,"time":1700000000,"severity":2,"code":7,"status":0,"mode":0,"reason":0,"data":0})";
    const std::string two =
        R"({"sequence":2,"id":3,"time":1700000060,"severity":2,"code":8,"status":0,"mode":0,"reason":0,"data":0})";
    note(one, "null");
    const auto program = sample.start({"logs", "--follow", "--json"});
    ASSERT_TRUE(program->awaitErrors("following"));
    note(one + "," + two, "null");
    ASSERT_TRUE(program->awaitOutput("\"id\":3"));
    EXPECT_THAT(program->output(), HasSubstr("\"id\":40"));
    note(one + "," + two, "\"no answer\"");
    ASSERT_TRUE(program->awaitErrors("could not be read since 1970-01-01 00:00:01: no answer"));
    sample.connect(false);
    note(one + "," + two, "null");
    ASSERT_TRUE(program->awaitErrors("newer events may be missing: lost since "));
    program->signal(SIGINT);
    EXPECT_EQ(program->finish(), 0);
    EXPECT_THAT(program->errors(), HasSubstr("begin again at 3 after 40"));
    EXPECT_EQ(std::count(program->output().begin(), program->output().end(), '\n'), 2);
}

TEST_F(WatchingTest, APathThatMeansNothingIsRefusedAtOnce) {
    const auto program = sample.start({"watch", "--interval", "0", "Status.Mod"});
    EXPECT_EQ(program->finish(), 4);
    EXPECT_THAT(program->errors(), HasSubstr("did you mean \"Status.Mode\"?"));
}

} // namespace
} // namespace velk::cli
