#include "cli/AlarmHistory.h"

#include "cli/AlarmsCommand.h"
#include "tests/cli/TestSession.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using tessapi::AlarmEvent;
using tessapi::LevelAlarm;
using test::SnapshotBuilder;

class AlarmHistoryTest : public ::testing::Test {
protected:
    static constexpr std::int64_t NOW_MS = SnapshotBuilder::NOW_MS; // 2023-11-14 22:13:20

    AlarmHistoryTest() {
        builder.device(30, 20, "Inputs.1");
        voltage = builder.channel(30, "Measure.Voltage", qz::CValue{184.0F}, "V").id;
        tessapi::ChannelRecord& status = builder.channel(20, "Status.Mode", qz::CValue{3U});
        status.states = test::statesOf({{2, "on line"}, {3, "On battery"}});
        mode = status.id;
    }

    /// Of the voltage: at or below 207 V.
    AlarmEvent voltageLow(std::int64_t timeMs, bool raised, float value) const {
        AlarmEvent event;
        event.timeMs = timeMs;
        event.raised = raised;
        event.device = 30;
        event.channel = voltage;
        event.place = "Inputs.1";
        event.name = "PowerDistribution.Measure.Voltage";
        event.code = "voltage-low";
        event.message = "Voltage";
        event.level = LevelAlarm::warning;
        event.priority = 3;
        event.type = 2;
        event.value = qz::CValue{value};
        event.threshold1 = qz::CValue{207.0F};
        return event;
    }

    AlarmEvent onBattery(std::int64_t timeMs, bool raised) const {
        AlarmEvent event;
        event.timeMs = timeMs;
        event.raised = raised;
        event.device = 20;
        event.channel = mode;
        event.place = "PowerDistribution";
        event.name = "PowerDistribution.Status.Mode";
        event.code = "on-battery";
        event.level = LevelAlarm::critical;
        event.type = 3;
        event.value = qz::CValue{raised ? 3U : 2U};
        event.threshold1 = qz::CValue{3U};
        return event;
    }

    std::vector<AlarmHappening> happenings(const std::vector<AlarmEvent>& events, std::int64_t sinceMs = 0,
                                           const std::string& path = "") const {
        return alarmHappenings(StoreView{builder.build()}, events, sinceMs, PathFilter{path});
    }

    /// What `tess alarms`, or its history, prints.
    std::string printed(const std::vector<AlarmEvent>& events, bool history, bool json = false) {
        test::SnapshotStore store{builder};
        for (const AlarmEvent& event : events) {
            store.browser().addAlarmEvent(event);
        }
        test::TestSession session{store};
        session.session.json = json;
        const ExitCode code = history ? runAlarmHistory(session.session, {}) : runAlarms(session.session);
        EXPECT_EQ(code, ExitCode::Done);
        err = session.err.str();
        return session.takeOut();
    }

    SnapshotBuilder builder;
    std::uint64_t voltage{0};
    std::uint64_t mode{0};
    std::string err;
};

TEST_F(AlarmHistoryTest, ValueAndThresholdAreInWordsWithUnits) {
    const auto told = happenings({voltageLow(NOW_MS, true, 184.4F), voltageLow(NOW_MS, false, 230.1F)});
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].path, "Inputs.1.Measure.Voltage");
    EXPECT_EQ(told[0].words, "184.4 V, at or below 207 V");
    EXPECT_EQ(told[1].words, "230.1 V, no longer at or below 207 V");
}

TEST_F(AlarmHistoryTest, AStateHasItsName) {
    const auto told = happenings({onBattery(NOW_MS, true), onBattery(NOW_MS, false)});
    EXPECT_EQ(told[0].path, "Status.Mode");
    EXPECT_EQ(told[0].words, "On battery");
    EXPECT_EQ(told[1].words, "on line, no longer On battery");
}

TEST_F(AlarmHistoryTest, AnEventOfAChannelThatIsGoneHasTheWordsOfTheCatalogue) {
    AlarmEvent event = voltageLow(NOW_MS, true, 184.0F);
    event.channel = 4711;
    event.device = 99;
    event.place = "Inputs.2";
    const auto told = happenings({event});
    EXPECT_EQ(told[0].path, "Inputs.2.Measure.Voltage");
    EXPECT_EQ(told[0].words, "184 V, at or below 207 V");
}

TEST_F(AlarmHistoryTest, AChannelWhoseNumberIsThatOfAnotherNowIsNotTakenForIt) {
    AlarmEvent event = voltageLow(NOW_MS, true, 184.0F);
    event.channel = mode;
    EXPECT_EQ(happenings({event})[0].words, "184 V, at or below 207 V");
}

TEST_F(AlarmHistoryTest, AClearedAlarmTellsHowLongItLastedAlsoWhenItWasRaisedBefore) {
    const std::vector<AlarmEvent> events{voltageLow(NOW_MS - 90'000, true, 184.0F),
                                         onBattery(NOW_MS - 60'000, true), voltageLow(NOW_MS, false, 230.0F)};
    const auto told = happenings(events, NOW_MS);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].lastedMs, 90'000);
}

TEST_F(AlarmHistoryTest, HowLongIsNotToldWhenTheRaisingIsForgottenOrTheClockWasSetBack) {
    EXPECT_FALSE(happenings({voltageLow(NOW_MS, false, 230.0F)})[0].lastedMs);
    const auto back = happenings({voltageLow(NOW_MS, true, 184.0F), voltageLow(NOW_MS - 1, false, 230.0F)});
    EXPECT_FALSE(back[1].lastedMs);
}

TEST_F(AlarmHistoryTest, APathAPartOrAPatternChooses) {
    const std::vector<AlarmEvent> events{voltageLow(NOW_MS, true, 184.0F), onBattery(NOW_MS, true)};
    EXPECT_EQ(happenings(events, 0, "Inputs.1").size(), 1U);
    EXPECT_EQ(happenings(events, 0, "Status.Mode")[0].path, "Status.Mode");
    EXPECT_EQ(happenings(events, 0, "**.Voltage")[0].path, "Inputs.1.Measure.Voltage");
    EXPECT_EQ(happenings(events, 0, "Inputs.*").size(), 1U);
    EXPECT_TRUE(happenings(events, 0, "Inputs").size() == 1U);
    EXPECT_TRUE(happenings(events, 0, "Input").empty());
}

TEST_F(AlarmHistoryTest, TheHistoryIsPrintedNewestLast) {
    EXPECT_EQ(printed({voltageLow(NOW_MS - 120'000, true, 184.0F), voltageLow(NOW_MS, false, 230.0F)}, true),
              "2023-11-14 22:11:20  warning  raised   Inputs.1.Measure.Voltage  184 V, at or below 207 V     "
              "       "
              "voltage-low               Voltage\n"
              "2023-11-14 22:13:20  warning  cleared  Inputs.1.Measure.Voltage  230 V, no longer at or below "
              "207 V  "
              "voltage-low  after 2 min  Voltage\n");
}

TEST_F(AlarmHistoryTest, AMessageThatIsTheNameOfTheStateIsNotSaidTwice) {
    AlarmEvent event = onBattery(NOW_MS, true);
    event.message = "On battery";
    EXPECT_EQ(printed({event}, true),
              "2023-11-14 22:13:20  critical  raised  Status.Mode  On battery  on-battery\n");
}

TEST_F(AlarmHistoryTest, AnEmptyHistoryIsSaid) {
    EXPECT_EQ(printed({}, true), "");
    EXPECT_EQ(err, "tess: no alarm was raised or cleared, as far as the store knows\n");
    EXPECT_EQ(printed({}, true, true), "[]\n");
}

TEST_F(AlarmHistoryTest, JsonHasNumbersAsNumbersAndTheWords) {
    const auto told =
        happenings({voltageLow(NOW_MS - 1500, true, 184.0F), voltageLow(NOW_MS, false, 230.5F)});
    EXPECT_EQ(jsonOf(told[1]).dump(),
              R"({"time":"2023-11-14T22:13:20.000Z","event":"cleared","level":"warning","priority":3,)"
              R"("path":"Inputs.1.Measure.Voltage","code":"voltage-low","message":"Voltage","value":230.5,)"
              R"("unit":"V","condition":"lower","threshold1":207,"threshold2":null,)"
              R"("text":"230.5 V, no longer at or below 207 V","lastedSeconds":1.5})");
    EXPECT_TRUE(jsonOf(told[0]).at("lastedSeconds").is_null());
}

TEST_F(AlarmHistoryTest, AnActiveAlarmIsShownSinceItWasRaised) {
    builder.record(voltage).activeAlarms.push_back({true, LevelAlarm::warning, 3, "voltage-low", voltage});
    const std::vector<AlarmEvent> events{voltageLow(NOW_MS - 7'200'000, true, 180.0F),
                                         voltageLow(NOW_MS - 3'700'000, false, 230.0F),
                                         voltageLow(NOW_MS - 3'600'000, true, 184.0F)};
    EXPECT_EQ(printed(events, false),
              "warning  Inputs.1.Measure.Voltage  184 V  voltage-low  2023-11-14 21:13:20 (60 min ago)\n");
    EXPECT_EQ(nlohmann::json::parse(printed(events, false, true))[0]["since"], "2023-11-14T21:13:20.000Z");
}

TEST_F(AlarmHistoryTest, WithoutAnEventAnActiveAlarmIsShownSinceItsValueChanged) {
    builder.record(voltage).activeAlarms.push_back({true, LevelAlarm::warning, 3, "voltage-low", voltage});
    const std::string since = "2023-11-14 22:10:20 (3 min ago)\n";
    EXPECT_TRUE(printed({}, false).ends_with(since));
    EXPECT_TRUE(
        printed({voltageLow(NOW_MS - 9'000'000, true, 180.0F), voltageLow(NOW_MS - 8'000'000, false, 230.0F)},
                false)
            .ends_with(since));
}

} // namespace
} // namespace velk::cli
