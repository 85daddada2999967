// The whole system as it stands on a machine: the real device server, the real daemon with its plug-in, the
// real store on disk, and the real command line, each a process of its own.

#include "testing/ChildProcess.h"
#include "testing/NutServer.h"
#include "testing/SecretText.h"
#include "testing/TemporaryDirectory.h"
#include "tests/integration/StoreWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace velk::testing {
namespace {

const std::string linkState{"PowerDistribution.CommunicationStatus.State"};

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream{path}.rdbuf();
    return text.str();
}

class EndToEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::ofstream{directory / "ups.dev"}
            << readFile(NutServer::demoFile("ups-1ph.dev"))
            << "RW:outlet.1.delay.start:STRING:10\nCMD:test.battery.start.quick\n";
        server = std::make_unique<NutServer>(std::vector<std::string>{
            "u1=" + std::string{VELK_NUT_TESTDRIVER} + ":" + (directory / "ups.dev").string()});
        std::filesystem::copy_file(NutServer::demoFile("alarms.json"), directory / "alarms.json");
        velk::testing::writeSecret(directory / "upsd.pass", std::string{NutServer::PASSWORD} + "\n");
        std::filesystem::permissions(directory / "upsd.pass", std::filesystem::perms::owner_read);
        std::ofstream{directory / "velk.json"}
            << R"({"maxRestTimeMs": 100, "protocolLibraries": [")" << VELK_NUT_PLUGIN_DIR
            << R"("], "nut": {"host": "127.0.0.1", "port": )" << server->port()
            << R"(, "ups": "u1", "user": "velk", "passwordFile": "upsd.pass", "pollIntervalMs": 200,)"
            << R"( "alarmFile": "alarms.json"}})";
        store = std::make_unique<StoreWatch>(url);
    }

    void startDaemon() {
        daemon = std::make_unique<ChildProcess>(
            std::vector<std::string>{VELK_BINARY_DIR "/bin/powerdistributiond", "--config",
                                     (directory / "velk.json").string()},
            std::vector<std::string>{"TESS_URL=" + url});
        ASSERT_TRUE(daemon->awaitOutput("to MONITOR\n")) << daemon->errors();
        ASSERT_TRUE(store->await(linkState, qz::CValue{std::uint32_t{2}}));
    }

    /// Runs `tess` to its end.
    ChildProcess& tess(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), VELK_BINARY_DIR "/bin/tess");
        program = std::make_unique<ChildProcess>(arguments, std::vector<std::string>{"TESS_URL=" + url});
        exitCode = program->finish();
        return *program;
    }

    TemporaryDirectory directory;
    const std::string url{"sqlite:" + (directory / "tess.db").string()};
    std::unique_ptr<NutServer> server;
    std::unique_ptr<StoreWatch> store;
    std::unique_ptr<ChildProcess> daemon;
    std::unique_ptr<ChildProcess> program;
    int exitCode{-1};
};

TEST_F(EndToEndTest, ChangeAtTheDeviceReachesTheStore) {
    startDaemon();
    EXPECT_TRUE(store->await("Inputs.1.Measure.Voltage", qz::CValue{231.4F}));
    server->control("u1", "SET input.voltage 228.5");
    EXPECT_TRUE(store->await("Inputs.1.Measure.Voltage", qz::CValue{228.5F}));
    EXPECT_NE(tess({"get", "--json", "Inputs.1.Measure.Voltage"}).output().find("\"fresh\": true"),
              std::string::npos)
        << program->output();
    EXPECT_EQ(exitCode, 0);
}

TEST_F(EndToEndTest, SettingReachesTheDeviceWithoutTheOldValueShowingUpAgain) {
    startDaemon();
    const std::string path{"Outlets.1.Setting.AutomaticSwitchOnDelay"};
    ASSERT_TRUE(store->await(path, qz::CValue{std::int32_t{3}}));
    const std::uint64_t channel = store->channel(path).id;
    std::vector<qz::CValue> writes;
    velk::common::Mutex mutex;
    std::condition_variable_any delivered;
    std::uint64_t subscription = 0;
    store->client().inbandAccessor().subscribeMultipleChannels(
        {channel},
        [&](std::uint64_t, const qz::CValue& value) {
            const velk::common::MutexLock lock{mutex};
            writes.push_back(value);
            delivered.notify_all();
        },
        qz::sub::everyWrite, &subscription);

    EXPECT_EQ(tess({"set", path, "7"}).output().rfind(path + ": 3 s -> 7 s, accepted by the device", 0), 0U)
        << program->output() << program->errors();
    EXPECT_EQ(exitCode, 0);
    // Settings are polled every 61st cycle; the arrival of the next one shows that a poll has gone by.
    server->control("u1", "SET input.voltage 229.1");
    ASSERT_TRUE(store->await("Inputs.1.Measure.Voltage", qz::CValue{229.1F}));
    server->control("u1", "SET outlet.1.delay.start 9");
    ASSERT_TRUE(store->await(path, qz::CValue{std::int32_t{9}}));
    // The store shows a value before every subscription has been called for it.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
    velk::common::MutexLock lock{mutex};
    while (writes.size() < 2 && delivered.wait_until(lock, deadline) != std::cv_status::timeout) {
    }
    lock.unlock();
    store->client().inbandAccessor().unsubscribe(subscription);
    lock.lock();
    EXPECT_EQ(writes, (std::vector<qz::CValue>{qz::CValue{std::int32_t{7}}, qz::CValue{std::int32_t{9}}}));
}

TEST_F(EndToEndTest, ActionStartsOnTheDevice) {
    startDaemon();
    tess({"do", "BackupSystem.PowerBank", "StartTest", "--yes"});
    EXPECT_EQ(exitCode, 0) << program->output() << program->errors();
    EXPECT_NE(server->control("u1", "LOG").find("test.battery.start.quick"), std::string::npos);
}

TEST_F(EndToEndTest, LostDriverShowsWithinSecondsAndItsReturnNeedsNoRestart) {
    startDaemon();
    const auto killed = std::chrono::steady_clock::now();
    server->driver("u1", "kill");
    ASSERT_TRUE(store->await(linkState, qz::CValue{std::uint32_t{3}}));
    const auto seen = std::chrono::steady_clock::now() - killed;
    RecordProperty("milliseconds_to_lost",
                   static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(seen).count()));
    EXPECT_NE(tess({"status"}).output().find("lost since"), std::string::npos) << program->output();
    tess({"set", "Outlets.1.Setting.AutomaticSwitchOnDelay", "8"});
    EXPECT_EQ(exitCode, 6);
    ASSERT_TRUE(daemon->awaitOutput("to WAIT_COMMUNICATION_RECOVERY\n"));

    server->driver("u1", "start");
    ASSERT_TRUE(store->await(linkState, qz::CValue{std::uint32_t{2}}));
    ASSERT_TRUE(daemon->awaitOutput("from START to MONITOR\n"));
    server->control("u1", "SET input.voltage 227.7");
    EXPECT_TRUE(store->await("Inputs.1.Measure.Voltage", qz::CValue{227.7F}));
}

TEST_F(EndToEndTest, LowBatteryRaisesAnAlarmThatShowsInTheHealthAndGoesAgain) {
    startDaemon();
    const std::string health{"BackupSystem.PowerBank.Status.HealthState"};
    ASSERT_TRUE(store->await(health, qz::CValue{std::uint32_t{5}}));
    server->control("u1", "SET battery.charge 12");
    EXPECT_TRUE(store->await(health, qz::CValue{std::uint32_t{25}}));
    EXPECT_NE(tess({"alarms"}).output().find("charge-low"), std::string::npos) << program->output();
    server->control("u1", "SET battery.charge 80");
    EXPECT_TRUE(store->await(health, qz::CValue{std::uint32_t{5}}));
}

TEST_F(EndToEndTest, ExplainTellsRuleReadingWriterTriggersAndFactsOfTheHost) {
    startDaemon();
    ASSERT_TRUE(store->await("Inputs.1.Measure.Voltage", qz::CValue{231.4F}));
    const std::string voltage = tess({"explain", "Inputs.1.Measure.Voltage"}).output();
    EXPECT_EQ(exitCode, 0) << program->errors();
    EXPECT_NE(voltage.find("libvelk-mz-protocol-nut.so: read from the device"), std::string::npos) << voltage;
    EXPECT_NE(voltage.find("Inputs.1.Measure.Voltage from input.voltage\n"), std::string::npos) << voltage;
    EXPECT_NE(voltage.find("once in 5 cycles"), std::string::npos) << voltage;
    EXPECT_NE(voltage.find("Last read "), std::string::npos) << voltage;

    const std::string setting{"Outlets.1.Setting.AutomaticSwitchOnDelay"};
    tess({"set", setting, "7"});
    ASSERT_EQ(exitCode, 0) << program->output() << program->errors();
    const std::string explained = tess({"explain", setting}).output();
    EXPECT_NE(explained.find("from outlet.1.delay.start\n"), std::string::npos) << explained;
    EXPECT_NE(explained.find("by tess ("), std::string::npos) << explained;
    EXPECT_NE(explained.find(": accepted by the device\n"), std::string::npos) << explained;

    server->control("u1", "SET battery.charge 12");
    ASSERT_TRUE(store->await("BackupSystem.PowerBank.Status.HealthState", qz::CValue{std::uint32_t{25}}));
    const std::string charge = tess({"explain", "BackupSystem.PowerBank.Measure.StateOfCharge"}).output();
    EXPECT_NE(charge.find("critical \"charge-low\" at or below 20 %: active\n"), std::string::npos) << charge;

    const std::string host = tess({"explain", "System.Ethernet.MacAddress"}).output();
    EXPECT_NE(host.find("powerdistributiond itself: a fact of this host"), std::string::npos) << host;
    EXPECT_NE(store->client().inbandAccessor().getDeviceAttribute(1, tessapi::DeviceAttribute::productName),
              "");

    tess({"explain", "Inputs.1.Measure.Voltge"});
    EXPECT_EQ(exitCode, 4);
    EXPECT_NE(program->errors().find("did you mean \"Inputs.1.Measure.Voltage\""), std::string::npos);
}

TEST_F(EndToEndTest, SignalGoesThroughStopToEndAndTheStoreKeepsTheLastState) {
    startDaemon();
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
    EXPECT_NE(daemon->output().find("Transition from MONITOR to STOP\n"), std::string::npos);
    EXPECT_NE(daemon->output().find("Transition from STOP to END\n"), std::string::npos);
    EXPECT_EQ(daemon->errors(), "");
    EXPECT_EQ(store->value("PowerEquipment.Status.OperatingStatus"), qz::CValue{std::uint32_t{5}});
    EXPECT_EQ(store->value("Inputs.1.Measure.Voltage"), qz::CValue{231.4F});
    EXPECT_EQ(store->value(linkState), qz::CValue{std::uint32_t{3}});
}

TEST_F(EndToEndTest, KilledDaemonLeavesNoValueThatLooksFresh) {
    startDaemon();
    ASSERT_TRUE(store->awaitThat([&] { return store->channel("Daemon.Daemon.Process").initialized; }));
    tess({"get", "--json", "Status.Mode"});
    EXPECT_NE(program->output().find("\"fresh\": true"), std::string::npos) << program->output();
    daemon->signal(SIGKILL);
    EXPECT_EQ(daemon->finish(), 128 + SIGKILL);
    EXPECT_EQ(store->value(linkState), qz::CValue{std::uint32_t{2}});
    tess({"get", "--json", "Status.Mode"});
    EXPECT_NE(program->output().find("\"fresh\": false"), std::string::npos) << program->output();
    EXPECT_NE(tess({"status"}).output().find("the daemon is not running"), std::string::npos)
        << program->output();
}

} // namespace
} // namespace velk::testing
