#include "cli/Communication.h"
#include "cli/Inquiry.h"
#include "cli/StatusCommand.h"
#include "daemon/ExplainDesk.h"
#include "platform/common/ProcessMark.h"
#include "testing/FakeClock.h"
#include "tests/cli/SampleDevices.h"
#include "tests/cli/TestSession.h"

#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unistd.h>

namespace velk::cli {
namespace {

using test::MemoryDevice;
using Json = nlohmann::ordered_json;

/// What `status` shows of a device, whole.
class StatusScreenTest : public ::testing::Test {
protected:
    StatusScreenTest() : device{::testing::UnitTest::GetInstance()->current_test_info()->name()} {}

    std::string screen() {
        test::TestSession test{*device.store};
        EXPECT_EQ(runStatus(test.session), ExitCode::Done);
        EXPECT_EQ(test.err.str(), "");
        return test.takeOut();
    }

    /// The lines of the screen that begin with `title`, and those without title behind them.
    std::string section(const std::string& title) {
        std::istringstream lines{screen()};
        std::string found;
        bool inside = false;
        for (std::string line; std::getline(lines, line);) {
            inside = line.starts_with(title) || (inside && line.starts_with("   "));
            found += inside ? line + "\n" : "";
        }
        return found;
    }

    /// A daemon says that it is at work, and hears questions about points.
    void beAtWork() {
        const std::uint64_t own = device.store->emplaceDevice(JournalEntry::deviceUuid(), 1, 0);
        tessapi::InBandAccessor& inband = device.store->inbandAccessor();
        inband.setChannelCValue(inband.emplaceChannel(own, Communication::DAEMON_PROCESS, false),
                                qz::CValue{velk::common::ProcessMark::ofThisProcess()});
        for (const char* channel : {Inquiry::REQUEST, Inquiry::ANSWER}) {
            inband.emplaceChannel(own, channel, false);
        }
    }

    /// As `screen`, of a daemon that is silent for as long as it is waited for.
    std::string screenOfSilence(bool json = false) {
        velk::testing::FakeClock clock;
        const auto begun = clock.now();
        test::TestSession test{*device.store, clock};
        test.session.json = json;
        EXPECT_EQ(runStatus(test.session), ExitCode::Done);
        EXPECT_EQ(clock.now() - begun, std::chrono::milliseconds{500});
        return test.takeOut();
    }

    MemoryDevice device;
};

TEST_F(StatusScreenTest, OfASinglePhaseUps) {
    fillSinglePhaseUps(device);
    EXPECT_EQ(screen(), R"(Device         Line 1500
Serial         L-1, firmware 1.3.0
State          on line interactive normal, health good, in service
Service        in service
Communication  connected since 2023-11-14 21:13:20 (60 min ago)
Source         Feed 1  229.4 V, 50 Hz, in tolerance
Converters     Inverter           stopped
               Voltage regulator  in service, raises a low voltage
Battery        100 %, floating, lasts 23 min, last test: success on 2023-11-03
Output         Output 1  230 V, 495 W, 34.7 % load
Outlets        2 on, 1 off (2)
Alarms         none
)");
}

TEST_F(StatusScreenTest, OfAThreePhaseModularUps) {
    fillThreePhaseUps(device);
    EXPECT_EQ(screen(), R"(Device         Modular 40, MOD-40-4, Example Power
Name           UPS of hall 1, Hall 1, row A
Serial         M-1
State          on line, health good
Service        in service
Communication  connected since 2023-11-14 21:13:20 (60 min ago)
Source         Feed 1, Mains         3 x 230 V, 50 Hz, in tolerance, in use, 18.3 kW
               Feed 2, Bypass mains  3 x 231 V, 50 Hz, in tolerance, not in use
Converters     Rectifier           in service, 17.9 kW, 44.7 % load
               DC bus              in service, 17.9 kW, 44.7 % load
               Inverter            in service, 17.9 kW, 44.7 % load
               Automatic bypass    supplied but not supplying
               Maintenance bypass  stopped
               Power modules       4 modules, redundant, 1 may fail
Battery        100 %, charging, lasts 3 h 20 min, 22.5 °C, 3 of 4 modules in service
Output         Output 1  3 x 230 V, 50 Hz, 17.5 kW, 18.4 kVA, 46 % load, L1 47.4 %, L2 47.4 %, L3 47.4 %
Outlets        2 on, 0 off, 7200 W together
Alarms         none
)");
}

TEST_F(StatusScreenTest, OfATransferSwitch) {
    fillAts(device);
    EXPECT_EQ(screen(), R"(Device         Transfer 16
State          on preferred source
Service        in service
Communication  connected since 2023-11-14 21:13:20 (60 min ago)
Source         Feed 1  230 V, 50 Hz, in tolerance, in use, 18.3 kW
               Feed 2  230 V, 50 Hz, in tolerance, not in use
Selection      source 1 selected, the preferred one
Converters     Transfer switch  in service, 900 W
Output         Output 1  230 V, 900 W, 25.5 % load
Alarms         none
)");
}

TEST_F(StatusScreenTest, OfAPduWith42Outlets) {
    fillPdu(device);
    EXPECT_EQ(screen(), R"(Device         Rack 42
State          on line
Service        in service
Communication  connected since 2023-11-14 21:13:20 (60 min ago)
Source         Feed 1, Feed A  230/214/230 V, 50 Hz, in tolerance, in use, 18.3 kW
Branches       Branch 1  on, 4.4 A, 965 W, 27.3 % load
               Branch 2  tripped, 4.4 A, 965 W, 27.3 % load
Outlets        36 on, 6 off (7 14 21 28 35 42), 4320 W together
Environment    24 °C
Alarms         none
)");
}

TEST_F(StatusScreenTest, OfALostDeviceIsMarkedLineByLine) {
    fillSinglePhaseUps(device);
    device.connect(3);
    EXPECT_EQ(screen(), R"(Device         Line 1500 (last known)
Serial         L-1, firmware 1.3.0 (last known)
State          on line interactive normal, health good, in service (last known)
Service        in service
Communication  lost since 2023-11-14 21:13:20 (60 min ago)
Source         Feed 1  229.4 V, 50 Hz, in tolerance (last known)
Converters     Inverter           stopped (last known)
               Voltage regulator  in service, raises a low voltage (last known)
Battery        100 %, floating, lasts 23 min, last test: success on 2023-11-03 (last known)
Output         Output 1  230 V, 495 W, 34.7 % load (last known)
Outlets        2 on, 1 off (2) (last known)
Alarms         none (last known)
)");
}

TEST_F(StatusScreenTest, OfADaemonThatDoesNotAnswerIsMarkedLineByLine) {
    fillAts(device);
    beAtWork();
    EXPECT_EQ(screenOfSilence(), R"(Device         Transfer 16 (last known)
State          on preferred source (last known)
Service        does not answer (process )" +
                                     std::to_string(getpid()) + R"()
Communication  not watched: the daemon does not answer; connected since 2023-11-14 21:13:20 (60 min ago)
Source         Feed 1  230 V, 50 Hz, in tolerance, in use, 18.3 kW (last known)
               Feed 2  230 V, 50 Hz, in tolerance, not in use (last known)
Selection      source 1 selected, the preferred one (last known)
Converters     Transfer switch  in service, 900 W (last known)
Output         Output 1  230 V, 900 W, 25.5 % load (last known)
Alarms         none (last known)
)");
}

TEST_F(StatusScreenTest, OfADaemonThatDoesNotAnswerNothingIsFreshForPrograms) {
    fillAts(device);
    beAtWork();
    const Json document = Json::parse(screenOfSilence(true));
    EXPECT_EQ(document["communication"]["connected"], false);
    EXPECT_EQ(document["communication"]["state"], "not watched: the daemon does not answer; connected");
    EXPECT_EQ(document["service"]["value"], 16);
    EXPECT_EQ(document.dump().find("\"fresh\":true"), std::string::npos) << document.dump(1);
}

TEST_F(StatusScreenTest, OfADaemonThatAnswersIsAsTheStoreSays) {
    fillAts(device);
    beAtWork();
    std::ostringstream errors;
    velk::daemon::ExplainDesk desk{
        [this] { return tessapi::TessAccessor::open("daemon", device.store->browser().url()); }, errors};
    desk.open();
    EXPECT_EQ(section("Service"), "Service        in service\n");
    EXPECT_EQ(section("Communication"), "Communication  connected since 2023-11-14 21:13:20 (60 min ago)\n");
    EXPECT_EQ(errors.str(), "");
}

TEST_F(StatusScreenTest, DaemonThatSaysItIsAtRestIsNotAsked) {
    fillAts(device);
    beAtWork();
    device.store->inbandAccessor().setChannelCValue(
        device.store->inbandAccessor().getCatchedChannelId(
            device.store->deviceIdOf(JournalEntry::deviceUuid()), Communication::DAEMON_PROCESS),
        qz::CValue{std::string{}});
    velk::testing::FakeClock clock;
    const auto begun = clock.now();
    test::TestSession test{*device.store, clock};
    EXPECT_EQ(runStatus(test.session), ExitCode::Done);
    EXPECT_NE(test.takeOut().find("not watched: the daemon is not running"), std::string::npos);
    EXPECT_EQ(clock.now(), begun) << "nobody was waited for";
}

TEST_F(StatusScreenTest, OnBatteryTheBatteryTellsWhatItDoesAndWhatIsLeft) {
    fillSinglePhaseUps(device);
    device.setAll({{"BackupSystem.PowerBank.Status.Supply", qz::CValue{true}},
                   {"BackupSystem.PowerBank.Measure.StateOfCharge", qz::CValue{18.25F}},
                   {"BackupSystem.PowerBank.Measure.RemainingTime", qz::CValue{90U}},
                   {"BackupSystem.PowerBank.Status.LowStateOfCharge", qz::CValue{true}},
                   {"Inputs.1.Measure.Voltage", test::volts(0.0F)},
                   {"Inputs.1.Measure.Frequency", qz::CValue{0.0F}},
                   {"Inputs.1.Status.VoltageTooLow", qz::CValue{true}},
                   {"Inputs.1.Status.InRange", qz::CValue{false}}});
    EXPECT_EQ(section("Battery"),
              R"(Battery        18.2 %, discharging, 90 s left, charge low, last test: success on 2023-11-03
)");
    EXPECT_EQ(section("Source"), R"(Source         Feed 1  0 V, 0 Hz, out of tolerance (voltage too low)
)");
}

TEST_F(StatusScreenTest, ATransferTellsWhyTheOtherSourceIsUsed) {
    fillAts(device);
    device.set("PowerConverters.TransferSwitch.Status.Source", qz::CValue{2U});
    EXPECT_EQ(section("Selection"), R"(Selection      source 2 selected, source 1 is preferred
)");
    device.set("Inputs.1.Status.InRange", qz::CValue{false});
    EXPECT_EQ(section("Selection"),
              R"(Selection      source 2 selected, source 1 is preferred but not in tolerance
)");
}

TEST_F(StatusScreenTest, WithoutASwitchThatTellsTheInputThatIsUsedIsTheSelectedOne) {
    device.setAll({{"Status.Mode", qz::CValue{16U}},
                   {"Inputs.1.Status.Used", qz::CValue{false}},
                   {"Inputs.2.Status.Used", qz::CValue{true}}});
    EXPECT_EQ(section("Selection"), R"(Selection      source 2 selected
)");
    device.set("Inputs.1.Status.Used", qz::CValue{true});
    EXPECT_EQ(section("Selection"), R"(Selection      on alternate source
)");
}

TEST_F(StatusScreenTest, OfWhatIsNotKnownThereIsNoWord) {
    EXPECT_EQ(screen(), R"(Service        in service
Communication  connected since 2023-11-14 21:13:20 (60 min ago)
Alarms         none
)");
    device.setAll({{"Inputs.1.Status.HealthState", qz::CValue{5U}},
                   {"Inputs.1.Measure.Voltage", qz::CValue{}},
                   {"Outlets.1.Status.HealthState", qz::CValue{5U}},
                   {"PowerConverters.Inverter.Status.HealthState", qz::CValue{5U}}});
    EXPECT_EQ(section("Source") + section("Outlets") + section("Converters"), "");
}

TEST_F(StatusScreenTest, ABatteryThatIsLostAloneIsMarkedAlone) {
    fillSinglePhaseUps(device);
    device.set("BackupSystem.PowerBank.CommunicationStatus.State", qz::CValue{3U});
    EXPECT_EQ(section("Battery"),
              R"(Battery        100 %, floating, lasts 23 min, last test: success on 2023-11-03 (last known)
)");
    EXPECT_EQ(section("Output"), R"(Output         Output 1  230 V, 495 W, 34.7 % load
)");
}

TEST_F(StatusScreenTest, ModulesWhoseStatusIsUnknownAreNotCounted) {
    fillThreePhaseUps(device);
    device.set("BackupSystem.PowerBank.StorageModules.2.Status.OperatingStatus", qz::CValue{0U});
    EXPECT_EQ(section("Battery"), "Battery        100 %, charging, lasts 3 h 20 min, 22.5 °C\n");
}

TEST_F(StatusScreenTest, ADeviceWithoutStorageSaysSo) {
    device.set("BackupSystem.PowerBank.Status.StoragePresent", qz::CValue{2U});
    EXPECT_EQ(section("Battery"), "Battery        not present\n");
}

TEST_F(StatusScreenTest, OnlyADeviceThatCouldUseABatteryIsSaidToWorkWithoutOne) {
    device.set("BackupSystem.PowerBank.Status.StoragePresent", qz::CValue{3U});
    EXPECT_EQ(section("Battery"), "");
    device.set("PowerConverters.Inverter.Status.OperatingStatus", qz::CValue{16U});
    EXPECT_EQ(section("Battery"), "Battery        no storage mode\n");
}

TEST_F(StatusScreenTest, AlarmsAreCountedByTheirLevels) {
    using tessapi::LevelAlarm;
    for (const auto& [path, level] : std::initializer_list<std::pair<const char*, LevelAlarm>>{
             {"Status.LowRuntime", LevelAlarm::warning},
             {"Status.FanFault", LevelAlarm::critical},
             {"Outputs.1.Status.Overload", LevelAlarm::warning}}) {
        device.alarm(path, level, "C");
        device.set(path, qz::CValue{true});
    }
    EXPECT_EQ(section("Alarms"), "Alarms         1 critical, 2 warning\n");
    EXPECT_NE(screen().find("  critical  Status.FanFault            yes  C\n"
                            "  warning   Status.LowRuntime          yes  C\n"
                            "  warning   Outputs.1.Status.Overload  yes  C\n"),
              std::string::npos)
        << screen();
}

TEST_F(StatusScreenTest, ForProgramsEachLineHasItsFactsAndTheirValues) {
    fillAts(device);
    test::TestSession test{*device.store};
    test.session.json = true;
    runStatus(test.session);
    const Json path = Json::parse(test.takeOut())["powerPath"];
    EXPECT_EQ(path["selection"][0]["facts"], (Json{"source 1 selected", "the preferred one"}));
    EXPECT_EQ(path["selection"][0]["values"]["Setting.PreferredSource"], 1);
    EXPECT_EQ(path["sources"].size(), 2U);
    EXPECT_EQ(path["sources"][0]["path"], "Inputs.1");
    EXPECT_EQ(path["sources"][0]["values"]["Inputs.1.Measure.Voltage"], 230.0);
    EXPECT_EQ(path["sources"][0]["fresh"], true);
    EXPECT_FALSE(path.contains("battery"));
}

} // namespace
} // namespace velk::cli
