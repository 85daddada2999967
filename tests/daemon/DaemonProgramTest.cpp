#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace velk::daemon {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using velk::testing::ChildProcess;

/// The program as a person or a service manager starts it, with a configuration that finds no device.
class DaemonProgramTest : public ::testing::Test {
protected:
    DaemonProgramTest() {
        std::filesystem::create_directory(folder / "plugins");
        configure(R"({"protocolLibraries": ["plugins"]})");
    }

    void configure(const std::string& text) const { std::ofstream{folder / "velk.json"} << text; }
    std::string configuration() const { return (folder / "velk.json").string(); }
    std::string url() const { return "sqlite:" + (folder / "tess.db").string(); }

    std::unique_ptr<ChildProcess> start(std::vector<std::string> arguments,
                                        const std::string& storeUrl = "") const {
        arguments.insert(arguments.begin(), VELK_BINARY_DIR "/bin/powerdistributiond");
        return std::make_unique<ChildProcess>(
            arguments, std::vector<std::string>{"TESS_URL=" + (storeUrl.empty() ? url() : storeUrl)});
    }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(DaemonProgramTest, SigtermAndSigintLetTheDeviceGoAndEndWithZero) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const auto daemon = start({"--config", configuration()});
        ASSERT_TRUE(daemon->awaitOutput("Transition from BEGIN to DISCOVER")) << daemon->errors();
        daemon->signal(signal);
        EXPECT_EQ(daemon->finish(), 0);
        const std::string name = signal == SIGTERM ? "SIGTERM" : "SIGINT";
        EXPECT_THAT(daemon->output(),
                    HasSubstr("powerdistributiond: " + name +
                              " received, letting the device go; a second signal ends at once\n"));
        EXPECT_THAT(daemon->output(),
                    HasSubstr("Exit PowerDistributionManager state machine is requested\n"));
        EXPECT_THAT(daemon->output(), HasSubstr("Transition from STOP to END\n"));
        EXPECT_THAT(daemon->output(), ::testing::EndsWith("powerdistributiond: ended\n"));
    }
}

TEST_F(DaemonProgramTest, TheFirstLineComesAtOnceThroughAPipe) {
    const auto daemon = start({"--config", configuration()});
    EXPECT_TRUE(daemon->awaitOutput("powerdistributiond: started with " + configuration() + "\n"));
}

TEST_F(DaemonProgramTest, ASecondSignalEndsHardWithItsOwnCode) {
    // It waits for no thread any more, which is no finding.
    const auto daemon = std::make_unique<ChildProcess>(
        std::vector<std::string>{VELK_BINARY_DIR "/bin/powerdistributiond", "--config", configuration()},
        std::vector<std::string>{"TESS_URL=" + url(), "TSAN_OPTIONS=report_thread_leaks=0"});
    // The machine rests two seconds in DISCOVER, before it can notice the first signal. Of two signals that
    // are there when the daemon goes on it gets the one with the smaller number first.
    ASSERT_TRUE(daemon->awaitOutput("Transition from BEGIN to DISCOVER"));
    daemon->signal(SIGSTOP);
    daemon->signal(SIGINT);
    daemon->signal(SIGTERM);
    daemon->signal(SIGCONT);
    EXPECT_EQ(daemon->finish(), 8);
    EXPECT_THAT(daemon->output(), HasSubstr("SIGINT received"));
    EXPECT_THAT(daemon->output(), HasSubstr("SIGTERM again, ending at once\n"));
}

TEST_F(DaemonProgramTest, AStoreThatCannotBeOpenedIsReportedAndANewRunBegins) {
    // Below a file there can be no store, not even for root.
    const auto daemon = start({"--config", configuration()}, "sqlite:" + configuration() + "/tess.db");
    ASSERT_TRUE(daemon->awaitErrors("a new one begins in 2 s"));
    EXPECT_THAT(daemon->errors(), HasSubstr("a new one begins in 1 s; check the configuration with: "
                                            "powerdistributiond --check --config " +
                                            configuration()));
    EXPECT_THAT(daemon->errors(), HasSubstr("writes to the device cannot be noted in the store"));
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
}

TEST_F(DaemonProgramTest, ABadConfigurationIsRefusedAtTheStart) {
    configure("{\"maxThreads\": 0}");
    const auto daemon = start({"--config", configuration()});
    EXPECT_EQ(daemon->finish(), 3);
    EXPECT_EQ(daemon->output(), "");
    EXPECT_THAT(daemon->errors(), HasSubstr("velk.json:1:16: \"maxThreads\": expected a whole number"));
    EXPECT_EQ(start({"--config", (folder / "none.json").string()})->finish(), 3);
}

TEST_F(DaemonProgramTest, AStartTellsWhatPluginsAndAlarmFilesHaveWrongAndGoesOn) {
    std::filesystem::copy_file(VELK_BINARY_DIR "/tests/daemon-plugins/libchecked_plugin.so",
                               folder / "plugins" / "plugin.so");
    configure(R"({"protocolLibraries": ["plugins"], "reject": {"alarmFile": "none.json"}})");
    const auto daemon = start({"--config", configuration()});
    ASSERT_TRUE(daemon->awaitOutput("Transition from BEGIN to DISCOVER")) << daemon->errors();
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
    EXPECT_THAT(daemon->errors(), HasSubstr("velk.json:7:9: expected \"host\"\n"));
    EXPECT_THAT(daemon->errors(), HasSubstr("velk.json:1:60: \"alarmFile\": expected an alarm file, but "));
    EXPECT_THAT(daemon->output(), ::testing::Not(HasSubstr("expected \"host\"")));
}

TEST_F(DaemonProgramTest, ACorruptStoreIsSetAsideWhenTheConfigurationSaysSo) {
    const auto isSetAside = [this] {
        for (const auto& entry : std::filesystem::directory_iterator{folder.path()}) {
            if (entry.path().filename().string().rfind("tess.db.corrupt-", 0) == 0) {
                return true;
            }
        }
        return false;
    };
    std::string content(5000, 'x'); // the head of a store, and then none
    content.replace(0, 16, std::string{"SQLite format 3"} + '\0').replace(68, 4, "TESS");
    std::ofstream{folder / "tess.db"} << content;
    const auto refusing = start({"--config", configuration()});
    ASSERT_TRUE(refusing->awaitErrors("a new one begins in 1 s")) << refusing->errors();
    refusing->signal(SIGTERM);
    EXPECT_EQ(refusing->finish(), 0);
    EXPECT_FALSE(isSetAside());

    configure(R"({"protocolLibraries": ["plugins"], "store": {"whenCorrupt": "set-aside"}})");
    // What the URL says goes before that.
    const auto told = start({"--config", configuration()}, url() + "?when-corrupt=refuse");
    ASSERT_TRUE(told->awaitErrors("a new one begins in 1 s")) << told->errors();
    told->signal(SIGTERM);
    EXPECT_EQ(told->finish(), 0);
    EXPECT_FALSE(isSetAside());

    const auto allowing = start({"--config", configuration()});
    ASSERT_TRUE(allowing->awaitOutput("Transition from BEGIN to DISCOVER")) << allowing->errors();
    allowing->signal(SIGTERM);
    EXPECT_EQ(allowing->finish(), 0);
    EXPECT_TRUE(isSetAside());
    EXPECT_THAT(allowing->errors(), HasSubstr("the file was corrupt and is now "));
}

TEST_F(DaemonProgramTest, CheckSaysGoodOrWhatIsWrongAndWhere) {
    const auto good = start({"--config", configuration(), "--check"});
    EXPECT_EQ(good->finish(), 0);
    EXPECT_THAT(good->output(),
                HasSubstr("velk.json:1:1: no protocol plug-in: no device will be found (warning)\n"));
    EXPECT_THAT(good->output(), ::testing::EndsWith("velk.json: good\n"));
    configure("{\"maxThreads\": 5,\n \"protocolLibraries\": [\"none.so\"]}");
    const auto bad = start({"--check", "--config", configuration()});
    EXPECT_EQ(bad->finish(), 3);
    EXPECT_THAT(bad->output(), ContainsRegex("velk\\.json:2:24: expected a plug-in or a folder of plug-ins"));
    EXPECT_FALSE(std::filesystem::exists(folder / "tess.db"));
}

TEST_F(DaemonProgramTest, VersionHelpAndUsage) {
    const auto version = start({"--version"});
    EXPECT_EQ(version->finish(), 0);
    EXPECT_THAT(version->output(), ContainsRegex("^powerdistributiond [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
    const auto help = start({"--help"});
    EXPECT_EQ(help->finish(), 0);
    EXPECT_THAT(help->output(), HasSubstr("8 ended at once by a second signal"));
    EXPECT_EQ(start({})->finish(), 2);
    EXPECT_EQ(start({"--config", configuration(), "--frobnicate"})->finish(), 2);
}

} // namespace
} // namespace velk::daemon
