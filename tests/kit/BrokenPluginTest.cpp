// The checker and plug-ins that break one rule each: every one is found, and named for what it is.

#include "platform/common/Clock.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace velk::kit {
namespace {

using velk::testing::ChildProcess;
using velk::testing::TemporaryDirectory;

struct Outcome {
    int exitCode{-1};
    std::string output;
    std::string errors;
};

class BrokenPlugin {
public:
    explicit BrokenPlugin(const std::string& kind) {
        std::ofstream{folder / "velk.json"} << R"({"broken": ")" << kind << "\"}";
    }

    void writeAlarms(const std::string& json) const { std::ofstream{folder / "alarms.json"} << json; }

    Outcome check(const std::vector<std::string>& options = {},
                  const std::string& file = VELK_BROKEN_PLUGIN) const {
        std::vector<std::string> command{VELK_PLUGIN_CHECK, file, "--config",
                                         (folder / "velk.json").string()};
        command.insert(command.end(), options.begin(), options.end());
        // The end of a child is what is looked at, not what it has left behind.
        ChildProcess program{command, {"ASAN_OPTIONS=detect_leaks=0"}};
        const int code = program.finish();
        return {code, program.output(), program.errors()};
    }

    std::vector<std::string> withALoss() const {
        const std::string file = (folder / "away").string();
        return {"--pause-command", "touch " + file,  "--resume-command",
                "rm " + file,      "--loss-timeout", "0.3"};
    }

    TemporaryDirectory folder;
};

struct Case {
    std::string kind;
    std::string finding; ///< how the line begins that must be there
    std::vector<std::string> options{};
};

std::ostream& operator<<(std::ostream& stream, const Case& broken) {
    return stream << broken.kind;
}

class BrokenPluginTest : public ::testing::TestWithParam<Case> {};

TEST_P(BrokenPluginTest, IsFoundAndNamed) {
    const Case& broken = GetParam();
    const Outcome run = BrokenPlugin{broken.kind}.check(broken.options);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(("\n" + run.output).find("\n" + broken.finding), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(": not clean; "), std::string::npos) << run.output;
}

std::string nameOf(const ::testing::TestParamInfo<Case>& info) {
    return info.param.kind;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Entry, BrokenPluginTest, ::testing::Values(
    Case{"nullLibrary",     "error: velkProtocolLibrary: expected the plug-in's library object for this configuration; came null"},
    Case{"entryThrows",     "error: velkProtocolLibrary: expected no exception; came exception: no configuration"},
    Case{"badConfiguration", "error: velkProtocolCheck: expected a configuration that the plug-in takes; came velk.json:1:12: no such kind"},
    Case{"noBuilder",       "error: builder: expected an object that creates the protocol; came null"},
    Case{"noProtocol",      "error: create: expected a protocol; came null"},
    Case{"nilUuid",         "error: uuid: expected a Uuid of the plug-in's own; came the nil Uuid"},
    Case{"uuidOfProtocol",  "error: protocolUuid: expected the library's Uuid 7a3b0d8e-1f1c-4c83-9f55-0c2a6bd1a001; came 7a3b0d8e-1f1c-4c83-9f55-0c2a6bd1a002"},
    Case{"uuidOfFactory",   "error: wrapperFactory: expected the library's Uuid 7a3b0d8e-1f1c-4c83-9f55-0c2a6bd1a001; came 7a3b0d8e-1f1c-4c83-9f55-0c2a6bd1a002"},
    Case{"throwInStart",    "error: start: expected no exception; came exception: no port"},
    Case{"neverFound",      "error: discover: expected the device to be found within 200 ms; came false", {"--discover-timeout", "0.2"}},
    Case{"throwInDiscover", "error: discover: expected no exception; came exception: no port"},
    Case{"noFactory",       "error: wrapperFactory: expected a factory for the protocol that has found its device; came null"}
), nameOf);

INSTANTIATE_TEST_SUITE_P(Paths, BrokenPluginTest, ::testing::Values(
    Case{"throwsForUnknown", "error: Identification.Attribute.CurrentDate: expected a wrapper or null, never an exception; came exception: no such path"},
    Case{"throwsForEmpty",   "error: Null: expected a wrapper or null, never an exception; came exception: Cannot get last node of an empty path"},
    Case{"servesEmpty",      "error: Null: expected null for the empty path; came a wrapper"},
    Case{"noIdentity",       "error: identity: expected Identification.Attribute.Uuid, or manufacturer, product name and serial number; came neither"},
    Case{"identityChanges",  "error: identity: expected the same as before, "},
    Case{"badUuid",          "error: Identification.Attribute.Uuid: expected a Uuid as text; came std::string \"what?\""},
    Case{"countTooBig",      "error: Outlets.3: expected something served, since Outlets.Attribute.Count is 3; came nothing"},
    Case{"countTooSmall",    "error: Outlets.2.Status.SwitchedOn: expected null, since Outlets.Attribute.Count is 1; came a wrapper"},
    Case{"hugeCount",        "error: Outlets.Attribute.Count: expected at most 1024 items; came 4000000000"},
    Case{"countIsFloat",     "error: Outlets.Attribute.Count: expected a uint32_t when the tree is built; came no such value"},
    Case{"noCount",          "warning: Outlets.Attribute.Count: expected a count, since items are served; came null, so nobody sees Outlets.1.Status.SwitchedOn"},
    Case{"namelessRule",     "warning: Inputs.1.Measure.Voltage: expected a name from ruleOf, since the path is served; came none"},
    Case{"nameOfTwoLines",   "error: Inputs.1.Measure.Voltage: expected one line of printable UTF-8 from ruleOf; came \"a rule\\u000aof two lines\""},
    Case{"hiddenNode",       "warning: PowerModules: expected a wrapper, since something below it is served; came null, so nobody sees PowerModules.Measure.Temperature"}
), nameOf);

INSTANTIATE_TEST_SUITE_P(Values, BrokenPluginTest, ::testing::Values(
    Case{"wrongType",              "error: Inputs.1.Measure.Voltage: expected float; came uint32_t 230"},
    Case{"otherTypeLater",         "error: Inputs.1.Measure.Voltage: expected float; came uint32_t 230"},
    Case{"outOfRange",             "error: Inputs.1.Measure.Voltage: expected 0 to 50000 V; came float 230000"},
    Case{"notANumber",             "error: Inputs.1.Measure.Voltage: expected a number; came float nan"},
    Case{"unknownState",           "error: Status.Mode: expected one of the states 1 (off) 2 (on line) 3 (on battery)"},
    Case{"garbage",                "error: Identification.Attribute.SerialNumber: expected printable UTF-8; came std::string \"\xEF\xBF\xBD\\u0001\""},
    Case{"operatingStatus",        "error: Status.OperatingStatus: expected null, since the library computes it and the channel would flap; came a wrapper"},
    Case{"operatingStatusOfItem",  "error: Outlets.1.Status.OperatingStatus: expected null, since the library computes it and never asks here; came a wrapper"},
    Case{"healthState",            "error: Outlets.1.Status.HealthState: expected null, since the library computes it and the channel would flap; came a wrapper"},
    Case{"readsThoughUnreadable",  "error: Inputs.1.Measure.Voltage: expected an empty value, since isReadable is false; came float 230"},
    Case{"unreadable",             "error: Inputs.1.Measure.Voltage: expected isReadable true of what is to be shown; came false"},
    Case{"throwInRead",            "error: Inputs.1.Measure.Voltage: expected a value or an empty one while the device is connected; came exception: no answer"},
    Case{"foreignThrowInRead",     "error: Inputs.1.Measure.Voltage: expected a value or an empty one while the device is connected; came an exception that is none of the standard library"},
    Case{"slowRead",               "warning: Inputs.1.Measure.Voltage: expected a read within 10 ms; came none in less than ", {"--slow-ms", "10"}}
), nameOf);

INSTANTIATE_TEST_SUITE_P(Writing, BrokenPluginTest, ::testing::Values(
    Case{"refusesThoughWritable", "error: Outlets.1.Setting.AutomaticSwitchOnDelay: expected true for its own value written, since isWritable is true; came false"},
    Case{"takesThoughUnwritable", "error: Outlets.1.Setting.AutomaticSwitchOnDelay: expected false for its own value written, since isWritable is false; came true"},
    Case{"takesEmpty",            "error: Outlets.1.Setting.AutomaticSwitchOnDelay: expected false for an empty value written; came true"},
    Case{"takesAnyType",          "error: Outlets.1.Setting.AutomaticSwitchOnDelay: expected false for a value of another type written; came true"},
    Case{"changesWhatIsWritten",  "error: Outlets.1.Setting.AutomaticSwitchOnDelay: expected int32_t 5 as before, since its own value was written; came int32_t 15"},
    Case{"writesWithoutEffect",   "error: Outlets.1.Setting.AutomaticSwitchOnDelay: expected int32_t 6, which write has taken; came int32_t 5", {"--change-settings"}},
    Case{"unwritableAction",      "error: Outlets.1.Action.SwitchOff: expected isWritable true of an action; came false"},
    Case{"throwInAction",         "error: Outlets.1.Action.SwitchOff: expected true or false for int32_t 0 written; came exception: cannot switch", {"--actions"}},
    Case{"takesAfterDisconnect",  "error: Outlets.1.Setting.AutomaticSwitchOnDelay: expected false for a value written after disconnect; came true"}
), nameOf);

INSTANTIATE_TEST_SUITE_P(Link, BrokenPluginTest, ::testing::Values(
    Case{"neverGood",             "error: communicationStatus: expected state 2 while the device is connected; came state 3"},
    Case{"throwInStatus",         "error: communicationStatus: expected no exception; came exception: no status"},
    Case{"sinceTomorrow",         "error: communicationStatus: expected a time of the link's last change that has been; came since "},
    Case{"stateOfPathLies",       "error: CommunicationStatus.State: expected uint32_t 2 as communicationStatus says; came uint32_t 3"},
    Case{"noCommunicationStatus", "error: CommunicationStatus.State: expected a wrapper, or the device never counts as connected; came null"},
    Case{"goodAfterDisconnect",   "error: communicationStatus: expected another state than 2 after disconnect; came state 2"},
    Case{"staleAfterDisconnect",  "error: Inputs.1.Measure.Voltage: expected an empty value or an exception after disconnect; came float 230"}
), nameOf);

INSTANTIATE_TEST_SUITE_P(Endings, BrokenPluginTest, ::testing::Values(
    Case{"crashInRead",       "error: Inputs.1.Measure.Voltage: expected read to return, during values; came the end of the process by SIGSEGV"},
    Case{"abortInRead",       "error: Inputs.1.Measure.Voltage: expected read to return, during values; came the end of the process by SIGABRT"},
    Case{"exitInRead",        "error: Inputs.1.Measure.Voltage: expected read to return, during values; came the end of the process with exit code 3"},
    Case{"hangInRead",        "error: Inputs.1.Measure.Voltage: expected read to return, during values; came none within 1.0 s", {"--timeout", "1"}},
    Case{"crashInBuild",      "error: Inputs.1.Measure.Voltage: expected buildWrapper to return, during the walk through the tree; came the end of the process by SIGSEGV"},
    Case{"crashInParallel",   "error: Inputs.1.Measure.Voltage: expected read to return, during reads from many threads; came the end of the process by SIGSEGV"},
    Case{"otherTypeInParallel", "error: Inputs.1.Measure.Voltage: expected float also from many threads; came uint32_t 230"},
    Case{"crashInDestructor", "error: the protocol's destructor: expected the protocol's destructor to return, during the end; came the end of the process by SIGSEGV"},
    Case{"hangInStop",        "error: stop: expected stop to return, during the end; came none within 1.0 s", {"--timeout", "1"}},
    Case{"threadLeft",        "error: stop: expected every thread of the plug-in to be joined; came 1 that still run after the plug-in was unloaded"},
    Case{"leak",              "error: buildWrapper: expected memory flat over 1000 rounds of building "}
), nameOf);
// clang-format on

TEST(PluginCheckTest, PluginWithoutFaultIsClean) {
    const Outcome run = BrokenPlugin{"nothing"}.check({"--change-settings", "--actions"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output.find("velk-mz-broken.so: clean; 13 points served, "), 0U) << run.output;
}

TEST(PluginCheckTest, ActionsAndSettingsAreLeftAloneUnlessAskedFor) {
    EXPECT_EQ(BrokenPlugin{"throwInAction"}.check().exitCode, 0) << "no action was carried out";
    EXPECT_EQ(BrokenPlugin{"writesWithoutEffect"}.check().exitCode, 0) << "no setting got another value";
}

TEST(PluginCheckTest, PluginThatFollowsItsDeviceIsClean) {
    const BrokenPlugin plugin{"nothing"};
    EXPECT_EQ(plugin.check(plugin.withALoss()).exitCode, 0);
}

TEST(PluginCheckTest, LossThatIsNotToldIsFound) {
    const BrokenPlugin plugin{"neverLost"};
    const Outcome run = plugin.check(plugin.withALoss());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find(
                  "error: communicationStatus: expected another state than 2 within 300 ms of the loss; "
                  "came state 2\n"),
              std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, ValueThatIsStaleDuringALossIsFound) {
    const BrokenPlugin plugin{"staleWhileLost"};
    const Outcome run = plugin.check(plugin.withALoss());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(
        run.output.find("error: Inputs.1.Measure.Voltage: expected an empty value or an exception while the "
                        "device is away; came float 230\n"),
        std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, OddStateOfALossIsFound) {
    const BrokenPlugin plugin{"oddStateWhenLost"};
    const Outcome run = plugin.check(plugin.withALoss());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(
        run.output.find("warning: communicationStatus: expected state 3 of a lost link; came state 7\n"),
        std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, ReturnThatNeedsAnotherDiscoverIsFound) {
    const BrokenPlugin plugin{"returnUntold"};
    const Outcome run = plugin.check(plugin.withALoss());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(
        run.output.find("error: communicationStatus: expected state 2 within 300 ms of the device's return, "
                        "without another discover; came another state\n"),
        std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, CommandThatFailsIsNamed) {
    const Outcome run =
        BrokenPlugin{"nothing"}.check({"--pause-command", "exit 3", "--resume-command", "true"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(
        run.output.find("error: --pause-command: expected a command that succeeds; came \"exit 3\" failed\n"),
        std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, DeviceThatWasTakenAwayIsBroughtBackWhenTheChildHasCrashed) {
    const BrokenPlugin plugin{"crashWhileLost"};
    const Outcome run = plugin.check(plugin.withALoss());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find("error: communicationStatus: expected communicationStatus to return, during "),
              std::string::npos)
        << run.output;
    EXPECT_FALSE(exists(plugin.folder / "away"));
    EXPECT_EQ(run.output.find("error: "), run.output.rfind("error: ")) << "the rest is tried\n" << run.output;
}

TEST(PluginCheckTest, DeviceThatCannotBeBroughtBackIsNamed) {
    const BrokenPlugin plugin{"crashWhileLost"};
    const Outcome run = plugin.check({"--pause-command", "touch " + (plugin.folder / "away").string(),
                                      "--resume-command", "echo no way; exit 4"});
    EXPECT_NE(
        run.output.find("error: --resume-command: expected a command that succeeds; came \"echo no way; "
                        "exit 4\" failed\n"),
        std::string::npos)
        << run.output;
    EXPECT_EQ(run.output.find("\nno way\n"), std::string::npos) << "its output is no finding";
    EXPECT_NE(run.errors.find("no way\n"), std::string::npos) << run.errors;
}

TEST(PluginCheckTest, InterruptBringsTheDeviceBackAndLeavesNothing) {
    const TemporaryDirectory folder;
    const std::string away = (folder / "away").string();
    ChildProcess program{{VELK_PLUGIN_CHECK, VELK_BROKEN_PLUGIN, "--pause-command", "touch " + away,
                          "--resume-command", "rm " + away},
                         {"TMPDIR=" + (folder / "").string()}};
    auto& clock = common::Clock::system();
    const auto deadline = clock.now() + std::chrono::seconds{30};
    while (!std::filesystem::exists(away) && clock.now() < deadline) {
        clock.sleepFor(std::chrono::milliseconds{2});
    }
    ASSERT_FALSE(std::filesystem::is_empty(folder / ""));
    program.signal(SIGINT); // while it waits for a loss that this plug-in never tells
    EXPECT_EQ(program.finish(), 2);
    EXPECT_NE(program.errors().find("velk-plugin-check: interrupted\n"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(folder / ""));
}

TEST(PluginCheckTest, SettingThatACrashMayHaveLeftChangedIsNamed) {
    const Outcome run = BrokenPlugin{"crashOnceChanged"}.check({"--change-settings"});
    EXPECT_NE(run.output.find(
                  "came the end of the process by SIGSEGV; Outlets.1.Setting.AutomaticSwitchOnDelay held "
                  "int32_t 5 and may hold another value now\n"),
              std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, EndOfOneReadDoesNotHideWhatComesLater) {
    const Outcome run = BrokenPlugin{"crashInRead"}.check();
    EXPECT_NE(run.output.find("SIGSEGV\n"), std::string::npos);
    EXPECT_NE(run.output.find("; 13 points served, "), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("SIGSEGV\n"), run.output.rfind("SIGSEGV\n")) << "once is enough\n"
                                                                           << run.output;
}

TEST(PluginCheckTest, FindingsThatAreAlikeAreToldEightTimesAndCounted) {
    const Outcome run = BrokenPlugin{"throwsForUnknown"}.check();
    std::size_t lines = 0;
    for (std::size_t at = 0; (at = run.output.find("exception: no such path\n", at)) != std::string::npos;
         ++at) {
        ++lines;
    }
    EXPECT_EQ(lines, 8U);
    EXPECT_NE(
        run.output.find("note: more of the same: expected a wrapper or null, never an exception; came "),
        std::string::npos);
}

TEST(PluginCheckTest, LibraryWithoutEntryIsNoPlugin) {
    const Outcome run = BrokenPlugin{"nothing"}.check({}, VELK_NO_PLUGIN);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find(
                  "error: velkProtocolLibrary: expected this symbol, exported from the plug-in; came none\n"),
              std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, FileThatIsNoLibraryIsNamedWithTheLoadersReason) {
    const BrokenPlugin plugin{"nothing"};
    const Outcome run = plugin.check({}, (plugin.folder / "velk.json").string());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.output.find("error: load: expected a plug-in that can be loaded; came exception: "), 0U)
        << run.output;
}

TEST(PluginCheckTest, BadAlarmFileIsFoundByTheSystemsOwnParser) {
    const BrokenPlugin plugin{"badAlarmFile"};
    plugin.writeAlarms(R"({"alarms": {"Status.Mode": {"triggers": [{"type": "odd"}]}}})");
    const Outcome run = plugin.check();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find("error: Private.AlarmConfigurationFile: expected a good alarm file, since a "
                              "bad one ends the run; came " +
                              (plugin.folder / "alarms.json").string() + ":1:"),
              std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, AlarmOfAnUnservedNameIsWorthANote) {
    const BrokenPlugin plugin{"unservedAlarm"};
    plugin.writeAlarms(R"({"alarms": {"Status.Overload": {"triggers": []}}})");
    const Outcome run = plugin.check();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.output.find(
                  "alarms.json:1:32: expected names of data points that are served; came Status.Overload\n"),
              std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, SettingThatIsAThresholdHasToRead) {
    const BrokenPlugin plugin{"badReference"};
    plugin.writeAlarms(R"({"alarms": {"Inputs.1.Measure.Voltage": {"triggers": [
        {"type": "lower", "reference": "Setting.Voltage.LowWarningThreshold",
         "severity": "warning", "code": "low", "message": "Low"}]}}})");
    const Outcome run = plugin.check();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find(
                  "error: Inputs.1.Setting.Voltage.LowWarningThreshold: expected float, since a trigger of "
                  "Inputs.1.Measure.Voltage refers to it; came empty\n"),
              std::string::npos)
        << run.output;
}

TEST(PluginCheckTest, JsonHoldsTheSameFindings) {
    const Outcome run = BrokenPlugin{"wrongType"}.check({"--json"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(
        run.output.find(R"({"severity": "error", "path": "Inputs.1.Measure.Voltage", "expected": "float", )"
                        R"("came": "uint32_t 230"})"),
        std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find(R"("points": 13,)"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(R"("clean": false)"), std::string::npos) << run.output;
}

TEST(PluginCheckTest, WrongUsageIsSaidBeforeAnythingIsLoaded) {
    EXPECT_EQ(BrokenPlugin{"nothing"}.check({}, "/no/such/file.so").exitCode, 2);
    EXPECT_EQ(BrokenPlugin{"nothing"}.check({"--rounds", "many"}).exitCode, 2);
    EXPECT_EQ(BrokenPlugin{"nothing"}.check({"--pause-command", "true"}).exitCode, 2)
        << "one without the other";
}

TEST(PluginCheckTest, WithoutConfigurationThePluginGetsOneThatSaysNothing) {
    ChildProcess program{{VELK_PLUGIN_CHECK, VELK_BROKEN_PLUGIN}};
    EXPECT_EQ(program.finish(), 0);
    EXPECT_EQ(program.output().find("velk-mz-broken.so: clean; "), 0U) << program.output();
}

} // namespace
} // namespace velk::kit
