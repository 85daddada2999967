#include "cli/Watcher.h"

#include "tests/cli/TestSession.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;
using Json = nlohmann::ordered_json;

/// Lines of `watch` without a store or a clock: writes are taken, and shown when the test says so.
class WatcherTest : public ::testing::Test {
protected:
    WatcherTest() {
        voltage = add("Measure.Voltage", qz::CValue{230.0F}, "V");
        mode = add("Status.Mode", qz::CValue{2U});
        channel(mode).states = test::statesOf({{2, "on line"}, {3, "on battery"}});
    }

    std::uint64_t add(const std::string& name, const qz::CValue& value, const std::string& unit = "") {
        return builder.channel(20, name, value, unit).id;
    }

    tessapi::ChannelRecord& channel(std::uint64_t id) { return builder.record(id); }

    Watcher& watcher() {
        if (!made) {
            made = std::make_unique<Watcher>(test.session, options);
        }
        return *made;
    }

    /// A write that comes `ms` after the beginning.
    void write(std::uint64_t id, const qz::CValue& value, std::int64_t ms = 0) {
        watcher().take({id, value, SnapshotBuilder::NOW_MS + ms});
    }

    std::string show() {
        watcher().show();
        return test.takeOut();
    }

    SnapshotBuilder builder;
    test::SnapshotStore store{builder};
    test::TestSession test{store};
    WatchOptions options;
    std::uint64_t voltage{0};
    std::uint64_t mode{0};

private:
    std::unique_ptr<Watcher> made;
};

TEST_F(WatcherTest, AMeasureHasNoMoreDigitsThanPeopleReadUnlessOnlyTheyHaveChanged) {
    options.deadband = 0.0;
    write(voltage, qz::CValue{184.37047F});
    EXPECT_TRUE(show().ends_with("  230 -> 184.4 V\n"));
    write(voltage, qz::CValue{184.37051F}, 5000);
    EXPECT_TRUE(show().ends_with("  184.37047 -> 184.37051 V\n"));
}

TEST_F(WatcherTest, JsonHasAllDigitsOfAMeasure) {
    test.session.json = true;
    write(voltage, qz::CValue{184.37047F});
    const Json line = Json::parse(show());
    EXPECT_EQ(line["value"].dump(), "184.37047");
}

TEST_F(WatcherTest, AChangeIsALineWithTimePathOldValueNewValueAndUnit) {
    write(voltage, qz::CValue{241.5F}, 7);
    write(mode, qz::CValue{3U}, 8);
    EXPECT_EQ(show(), "22:13:20.007  Measure.Voltage            230 -> 241.5 V\n"
                      "22:13:20.008  Status.Mode                on line -> on battery\n");
}

TEST_F(WatcherTest, AnUnchangedValueThatIsPublishedAgainMakesNoLine) {
    write(mode, qz::CValue{2U});
    write(voltage, qz::CValue{230.0F});
    EXPECT_FALSE(watcher().hasChanges());
    EXPECT_EQ(show(), "");
}

TEST_F(WatcherTest, AllChangesOfAPathThatWaitTogetherMakeOneLine) {
    for (int i = 1; i <= 500; ++i) {
        write(voltage, qz::CValue{230.0F + static_cast<float>(i)}, i);
    }
    EXPECT_EQ(show(), "22:13:20.500  Measure.Voltage            230 -> 730 V (500 changes)\n");
}

TEST_F(WatcherTest, LinesStandInTheOrderOfTheirTimes) {
    write(voltage, qz::CValue{200.0F}, 1);
    write(mode, qz::CValue{3U}, 2);
    write(voltage, qz::CValue{210.0F}, 3);
    EXPECT_EQ(show(), "22:13:20.002  Status.Mode                on line -> on battery\n"
                      "22:13:20.003  Measure.Voltage            230 -> 210 V (2 changes)\n");
}

TEST_F(WatcherTest, LinesOfAPathStandInTheOrderInWhichTheyCameAlsoWhenTheClockWasSetBack) {
    options.all = true;
    write(voltage, qz::CValue{200.0F}, 500);
    write(mode, qz::CValue{3U}, 400);
    write(voltage, qz::CValue{210.0F}, 3);
    EXPECT_EQ(show(), "22:13:20.400  Status.Mode                on line -> on battery\n"
                      "22:13:20.500  Measure.Voltage            230 -> 200 V\n"
                      "22:13:20.003  Measure.Voltage            200 -> 210 V\n");
}

TEST_F(WatcherTest, TheOldValueIsThatOfTheLastLine) {
    write(voltage, qz::CValue{200.0F});
    show();
    write(voltage, qz::CValue{210.0F});
    EXPECT_EQ(show(), "22:13:20.000  Measure.Voltage            200 -> 210 V\n");
}

TEST_F(WatcherTest, AMeasureThatMovesByLessThanTheDeadbandMakesNoLineUntilItHasMovedFarEnough) {
    for (const float volts : {230.5F, 231.5F, 229.0F, 232.0F}) {
        write(voltage, qz::CValue{volts});
        EXPECT_EQ(show(), "") << volts;
    }
    write(voltage, qz::CValue{232.5F});
    EXPECT_EQ(show(), "22:13:20.000  Measure.Voltage            230 -> 232.5 V\n");
}

TEST_F(WatcherTest, ADeadbandOfZeroShowsTheSmallestMove) {
    options.deadband = 0.0;
    write(voltage, qz::CValue{230.01F});
    EXPECT_EQ(show(), "22:13:20.000  Measure.Voltage            230 -> 230.01 V\n");
    write(voltage, qz::CValue{231.0F});
    write(voltage, qz::CValue{230.01F});
    EXPECT_EQ(show(), "") << "it is where it was";
}

TEST_F(WatcherTest, StatusesSettingsAndCountsAreShownHoweverSmallTheChange) {
    const std::uint64_t delay = add("Setting.AutomaticSwitchOnDelay", qz::CValue{1000}, "s");
    const std::uint64_t left = add("Status.DelayBeforeSwitchOff", qz::CValue{1000}, "s");
    const std::uint64_t cycles = add("Measure.CyclesCount", qz::CValue{1000U});
    write(delay, qz::CValue{1001});
    write(left, qz::CValue{999});
    write(cycles, qz::CValue{1001U});
    EXPECT_EQ(show(), "22:13:20.000  Setting.AutomaticSwitchOnDelay  1000 -> 1001 s\n"
                      "22:13:20.000  Status.DelayBeforeSwitchOff     1000 -> 999 s\n"
                      "22:13:20.000  Measure.CyclesCount             1000 -> 1001\n");
}

TEST_F(WatcherTest, AStatusThatWentAndCameBackMeanwhileIsShownNevertheless) {
    write(mode, qz::CValue{3U}, 1);
    write(mode, qz::CValue{2U}, 2);
    EXPECT_EQ(show(), "22:13:20.002  Status.Mode                on line -> on line (2 changes)\n");
}

TEST_F(WatcherTest, FromZeroAndFromNothingEveryValueIsALine) {
    const std::uint64_t current = add("Measure.Current", qz::CValue{0.0F}, "A");
    write(current, qz::CValue{0.001F});
    EXPECT_EQ(show(), "22:13:20.000  Measure.Current            0 -> 0.001 A\n");
    write(current, qz::CValue{});
    EXPECT_EQ(show(), "22:13:20.000  Measure.Current            0.001 A -> -\n");
    write(current, qz::CValue{0.001F});
    EXPECT_EQ(show(), "22:13:20.000  Measure.Current            - -> 0.001 A\n");
}

TEST_F(WatcherTest, EachChangeForItselfIsShownOnDemandHoweverSmall) {
    options.all = true;
    write(voltage, qz::CValue{230.1F}, 1);
    write(mode, qz::CValue{2U}, 1);
    write(voltage, qz::CValue{230.0F}, 2);
    EXPECT_EQ(show(), "22:13:20.001  Measure.Voltage            230 -> 230.1 V\n"
                      "22:13:20.002  Measure.Voltage            230.1 -> 230 V\n");
}

TEST_F(WatcherTest, EveryWriteIsShownOnDemand) {
    options.every = true;
    write(mode, qz::CValue{2U});
    EXPECT_EQ(show(), "22:13:20.000  Status.Mode                on line (unchanged)\n");
}

TEST_F(WatcherTest, AnActionThatIsAskedForAgainIsALine) {
    const std::uint64_t off = add("Action.SwitchOff", qz::CValue{0}, "s");
    write(off, qz::CValue{0});
    EXPECT_EQ(show(), "22:13:20.000  Action.SwitchOff           0 -> 0 s\n");
}

TEST_F(WatcherTest, AnAlarmThatComesOrGoesIsToldWithTheChangeThatBroughtIt) {
    channel(voltage).alarmConfig.triggers.resize(1);
    write(voltage, qz::CValue{229.9F}); // inside the deadband
    channel(voltage).activeAlarms = {{true, tessapi::LevelAlarm::warning, 0, "LOW", voltage}};
    EXPECT_EQ(show(), "22:13:20.000  Measure.Voltage            230 -> 229.9 V  warning LOW raised\n");
    write(voltage, qz::CValue{230.0F});
    channel(voltage).activeAlarms.clear();
    EXPECT_EQ(show(), "22:13:20.000  Measure.Voltage            229.9 -> 230 V  warning LOW cleared\n");
}

TEST_F(WatcherTest, AChannelThatIsNewIsLookedUpOnce) {
    watcher();
    const std::uint64_t later = add("Status.SwitchedOn", qz::CValue{true});
    write(later, qz::CValue{true});
    write(later, qz::CValue{false});
    EXPECT_EQ(show(), "22:13:20.000  Status.SwitchedOn          - -> no (2 changes)\n");
    write(later + 1000, qz::CValue{true});
    EXPECT_EQ(show(), "") << "gone before it could be looked up";
}

TEST_F(WatcherTest, OnlyThePathsAskedForMakeLinesAndAreAligned) {
    options.paths = {"Status.*"};
    write(voltage, qz::CValue{200.0F});
    write(mode, qz::CValue{3U});
    EXPECT_EQ(show(), "22:13:20.000  Status.Mode  on line -> on battery\n");
}

TEST_F(WatcherTest, EndsAfterTheNumberOfLinesAskedFor) {
    options.count = 1;
    write(voltage, qz::CValue{200.0F});
    write(mode, qz::CValue{3U});
    EXPECT_FALSE(watcher().isFull());
    EXPECT_EQ(show(), "22:13:20.000  Measure.Voltage            230 -> 200 V\n");
    EXPECT_TRUE(watcher().isFull());
}

TEST_F(WatcherTest, ValuesOfALostDeviceAreMarked) {
    const std::uint64_t state = builder.find(20, "CommunicationStatus.State").id;
    watcher();
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    write(state, qz::CValue{3U});
    write(mode, qz::CValue{3U});
    EXPECT_EQ(show(), "22:13:20.000  CommunicationStatus.State  connected -> lost\n"
                      "22:13:20.000  Status.Mode                on line -> on battery  "
                      "last known, lost since 2023-11-14 21:13:20 (60 min ago)\n");
}

TEST_F(WatcherTest, ForProgramsALineIsAnObjectWithOldAndNewValue) {
    test.session.json = true;
    write(mode, qz::CValue{3U}, 5);
    const Json line = Json::parse(show());
    EXPECT_EQ(line.dump(), R"({"path":"Status.Mode","value":3,"type":"uint32","unit":null,)"
                           R"("text":"on battery","changed":"2023-11-14T22:13:20.005Z","fresh":true,)"
                           R"("time":"2023-11-14T22:13:20.005Z","old":2,"oldText":"on line","changes":1,)"
                           R"("raised":[],"cleared":[]})");
}

} // namespace
} // namespace velk::cli
