#include "cli/Timeline.h"

#include "cli/CommunicationNote.h"
#include "cli/EventsCommand.h"
#include "cli/Failure.h"
#include "tests/cli/TestSession.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;

class TimelineTest : public ::testing::Test {
protected:
    static constexpr std::int64_t NOW_MS = SnapshotBuilder::NOW_MS; // 2023-11-14 22:13:20

    TimelineTest() {
        builder.device(30, 20, "Outlets.1");
        builder.channel(30, "Setting.AutomaticSwitchOffDelay", qz::CValue{7}, "s");
        builder.channel(20, "Status.LowRuntime", qz::CValue{true});
        builder.device(40, 1, "Daemon").uuid =
            velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "Daemon"};
    }

    void daemonChannel(const char* name, const std::string& text) {
        builder.channel(40, "", qz::CValue{text}).name = name;
    }

    void write(std::int64_t timeMs, const std::string& path, const std::string& asked,
               const std::string& result, const std::string& user = "", const std::string& program = "") {
        store.browser().recordWrite({0, timeMs, program, user, path, asked, result});
    }

    void lowRuntime(std::int64_t timeMs, bool raised) {
        tessapi::AlarmEvent event;
        event.timeMs = timeMs;
        event.raised = raised;
        event.device = 20;
        event.place = "PowerDistribution";
        event.name = "PowerDistribution.Status.LowRuntime";
        event.code = "LOW";
        event.level = tessapi::LevelAlarm::critical;
        event.type = 3;
        event.value = qz::CValue{raised};
        event.threshold1 = qz::CValue{true};
        store.browser().addAlarmEvent(event);
    }

    void log(std::int64_t seconds) {
        const std::string uuid = velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "test 20"}.toString();
        daemonChannel(
            "Daemon.DeviceLog",
            R"({"device":")" + uuid +
                R"(","error":null,"errorTime":null,"first":null,"entries":[{"sequence":1,"id":4,"time":)" +
                std::to_string(seconds) +
                R"(,"severity":2,"code":101,"status":0,"mode":2,"reason":0,"data":9}]})");
    }

    std::string events(const EventsOptions& options = {}, bool json = false) {
        test::TestSession session{store};
        session.session.json = json;
        EXPECT_EQ(runEvents(session.session, options), ExitCode::Done);
        err = session.err.str();
        return session.takeOut();
    }

    SnapshotBuilder builder;
    test::SnapshotStore store{builder};
    std::string err;
};

TEST_F(TimelineTest, EverythingStandsInTheOrderOfTheTimes) {
    lowRuntime(NOW_MS - 60'000, true);
    lowRuntime(NOW_MS, false);
    write(NOW_MS - 30'000, "Outlets.1.Setting.AutomaticSwitchOffDelay", "30", "", "alice", "tess");
    log(NOW_MS / 1000 - 40);
    daemonChannel(CommunicationNote::CHANNEL, R"([{"timeMs":1699990000000,"device":"","state":"connected"},)"
                                              R"({"timeMs":1699999950000,"device":"","state":"lost"}])");
    EXPECT_EQ(
        events(),
        "2023-11-14 19:26:40  link   CommunicationStatus.State                  connected\n"
        "2023-11-14 22:12:20  alarm  Status.LowRuntime                          critical LOW raised: yes\n"
        "2023-11-14 22:12:30  link   CommunicationStatus.State                  lost, was connected for 2 h "
        "45 "
        "min\n"
        "2023-11-14 22:12:40  log    -                                          event 4, severity 2, code "
        "101, "
        "status 0, mode 2, reason 0, data 9\n"
        "2023-11-14 22:12:50  write  Outlets.1.Setting.AutomaticSwitchOffDelay  30 s asked for by alice with "
        "tess: accepted\n"
        "2023-11-14 22:13:20  alarm  Status.LowRuntime                          critical LOW cleared after "
        "60 s: "
        "no, no longer yes\n");
    EXPECT_EQ(err, "");
}

TEST_F(TimelineTest, AWriteTellsWhoAskedAndWhatBecameOfIt) {
    write(NOW_MS, "Outlets.1.Setting.AutomaticSwitchOffDelay", "-1", "out of range");
    write(NOW_MS, "Gone.Setting.Other", "5", "nobody took it: no answer within 10.0 s", "bob");
    const std::string told = events();
    EXPECT_NE(told.find("none asked for by nobody known: out of range\n"), std::string::npos) << told;
    EXPECT_NE(told.find("5 asked for by bob: nobody took it: no answer within 10.0 s\n"), std::string::npos);
}

TEST_F(TimelineTest, AWriteOfTheDaemonIsItsOwn) {
    write(NOW_MS, "Connectivity.PrivateAction.SetMacAddress", "x", "", "", "powerdistributiond");
    EXPECT_NE(events().find("x asked for by the daemon itself: accepted\n"), std::string::npos);
}

TEST_F(TimelineTest, AnEndOfTheServiceIsNoLossOfTheDevice) {
    daemonChannel(CommunicationNote::CHANNEL, R"([{"timeMs":1699990000000,"device":"","state":"stopped"},
        {"timeMs":1699990060000,"device":"","state":"connected"}])");
    const std::string told = events();
    EXPECT_NE(told.find("CommunicationStatus.State  service stopped\n"), std::string::npos) << told;
    EXPECT_NE(told.find("connected, was service stopped for 60 s\n"), std::string::npos) << told;
}

TEST_F(TimelineTest, APathThatNobodyKnowsIsAskedBack) {
    EXPECT_EQ(events({"", "Otlets.1"}), "");
    EXPECT_EQ(err, "tess: nothing is known by that path; did you mean \"Outlets.1\"?\n"
                   "tess: nothing happened, as far as the store knows\n");
    events({"", "Otlets.*"});
    EXPECT_EQ(err.find("tess: nothing is known by that path\n"), 0U) << err;
    write(NOW_MS - 7'200'000, "Gone.Setting.Other", "5", "");
    for (const char* known : {"Outlets.1", "Outlets.*.Setting.*", "Gone", "Status.LowRuntime"}) {
        EXPECT_EQ(events({"1h", known}), "");
        EXPECT_EQ(err, "tess: nothing happened, as far as the store knows\n") << known;
    }
}

TEST_F(TimelineTest, SinceLeavesOutWhatWasBefore) {
    lowRuntime(NOW_MS - 7'200'000, true);
    lowRuntime(NOW_MS - 600'000, false);
    write(NOW_MS - 3'700'000, "A", "1", "");
    log(NOW_MS / 1000 - 3601);
    daemonChannel(CommunicationNote::CHANNEL, R"([{"timeMs":1699990000000,"device":"","state":"lost"}])");
    EXPECT_EQ(events({"1h", ""}),
              "2023-11-14 22:03:20  alarm  Status.LowRuntime  critical LOW cleared after 110 min: "
              "no, no longer yes\n");
}

TEST_F(TimelineTest, APathLeavesOutTheRestAndTheDevicesLog) {
    lowRuntime(NOW_MS, true);
    log(NOW_MS / 1000);
    write(NOW_MS, "Outlets.1.Setting.AutomaticSwitchOffDelay", "30", "");
    daemonChannel(CommunicationNote::CHANNEL,
                  R"([{"timeMs":1699990000000,"device":"BackupSystem.PowerBank","state":"lost"}])");
    EXPECT_EQ(events({"", "BackupSystem.**"}),
              "2023-11-14 19:26:40  link  BackupSystem.PowerBank.CommunicationStatus.State  lost\n");
    EXPECT_EQ(events({"", "Outlets.1"}),
              "2023-11-14 22:13:20  write  Outlets.1.Setting.AutomaticSwitchOffDelay  30 s "
              "asked for by nobody known: accepted\n");
}

TEST_F(TimelineTest, NothingIsSaid) {
    EXPECT_EQ(events(), "");
    EXPECT_EQ(err, "tess: nothing happened, as far as the store knows\n");
    EXPECT_EQ(events({}, true), "[]\n");
}

TEST_F(TimelineTest, JsonTellsTheKindsApart) {
    lowRuntime(NOW_MS - 4000, true);
    write(NOW_MS - 3000, "A", "1", "no", "alice", "tess");
    write(NOW_MS - 2500, "A", "1", "");
    daemonChannel(CommunicationNote::CHANNEL, R"([{"timeMs":1699999998000,"device":"","state":"lost"}])");
    log(NOW_MS / 1000);
    const nlohmann::json document = nlohmann::json::parse(events({}, true));
    ASSERT_EQ(document.size(), 5U);
    EXPECT_EQ(document[0]["kind"], "alarm");
    EXPECT_EQ(document[0]["event"], "raised");
    EXPECT_EQ(document[0]["path"], "Status.LowRuntime");
    EXPECT_EQ(document[1]["kind"], "write");
    EXPECT_EQ(document[1]["user"], "alice");
    EXPECT_EQ(document[1]["accepted"], false);
    EXPECT_EQ(document[1]["error"], "no");
    EXPECT_EQ(document[2]["accepted"], true);
    EXPECT_TRUE(document[2]["program"].is_null());
    EXPECT_EQ(document[3]["kind"], "link");
    EXPECT_EQ(document[3]["state"], "lost");
    EXPECT_TRUE(document[3]["formerState"].is_null());
    EXPECT_EQ(document[4]["kind"], "log");
    EXPECT_EQ(document[4]["code"], 101);
    EXPECT_EQ(document[4]["time"], "2023-11-14T22:13:20.000Z");
}

TEST_F(TimelineTest, ALogOfAnotherDeviceAndNotesThatAreNoneAreLeftOut) {
    daemonChannel("Daemon.DeviceLog", R"({"device":"x","error":null,"entries":[]})");
    daemonChannel(CommunicationNote::CHANNEL, R"([5,{"timeMs":1},{"timeMs":"x","device":"","state":""}])");
    EXPECT_EQ(events(), "");
}

TEST_F(TimelineTest, WhatADeviceSaysMovesNoCursor) {
    write(NOW_MS, "A", "\033[2J", "\033[0m");
    EXPECT_EQ(events().find('\033'), std::string::npos);
}

TEST_F(TimelineTest, ATimeThatIsNoneIsAUsageError) {
    test::TestSession session{store};
    EXPECT_THROW(runEvents(session.session, {"yesterday", ""}), Failure);
}

} // namespace
} // namespace velk::cli
