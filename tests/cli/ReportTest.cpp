#include "cli/AlarmList.h"
#include "cli/PointReport.h"
#include "cli/Table.h"
#include "tests/cli/SnapshotBuilder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;

class ReportTest : public ::testing::Test {
protected:
    ReportTest() {
        setenv("TZ", "UTC", 1);
        tzset();
        builder.channel(20, "Status.Mode", qz::CValue{3U}).states = test::statesOf({{3, "on battery"}});
        builder.channel(20, "Measure.Voltage", qz::CValue{230.1F}, "V");
        builder.channel(20, "Setting.AutomaticSwitchOnDelay", qz::CValue{5}, "s").changedMs =
            SnapshotBuilder::CONNECTED_MS + 60'000;
        builder.channel(20, "Measure.Current", qz::CValue{}, "A");
        builder.attribute(20, tessapi::DeviceAttribute::model, "M1");
    }

    static tessapi::ActiveAlarm alarm(tessapi::LevelAlarm level, std::int32_t priority, const char* code) {
        return {true, level, priority, code, 0};
    }

    SnapshotBuilder builder;
};

TEST_F(ReportTest, JsonHasPathValueTypeUnitTextChangedAndFresh) {
    const StoreView view{builder.build()};
    const Communication communication{view};
    const PointReport report{communication, Style{false}, SnapshotBuilder::NOW_MS};
    EXPECT_EQ(report.json(view.require("Measure.Voltage")).dump(),
              R"({"path":"Measure.Voltage","value":230.1,"type":"float32","unit":"V",)"
              R"("changed":"2023-11-14T22:10:20.000Z","fresh":true})");
    EXPECT_EQ(report.json(view.require("Status.Mode")).dump(),
              R"({"path":"Status.Mode","value":3,"type":"uint32","unit":null,"text":"on battery",)"
              R"("changed":"2023-11-14T22:10:20.000Z","fresh":true})");
    EXPECT_EQ(
        report.json(view.require("Attribute.Model")).dump(),
        R"({"path":"Attribute.Model","value":"M1","type":"string","unit":null,"changed":null,"fresh":true})");
}

TEST_F(ReportTest, JsonHasNullForAMissingValue) {
    const StoreView view{builder.build()};
    const Communication communication{view};
    const PointReport report{communication, Style{false}, SnapshotBuilder::NOW_MS};
    const nlohmann::ordered_json json = report.json(view.require("Measure.Current"));
    EXPECT_TRUE(json.at("value").is_null());
    EXPECT_TRUE(json.at("changed").is_null());
}

TEST_F(ReportTest, WhileTheDeviceIsLostAValueIsLastKnownAndAnAskedOneUnconfirmed) {
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    const StoreView view{builder.build()};
    const Communication communication{view};
    const PointReport report{communication, Style{false}, SnapshotBuilder::NOW_MS};
    EXPECT_EQ(report.freshness(view.require("Status.Mode")),
              "last known, lost since 2023-11-14 21:13:20 (60 min ago)");
    EXPECT_EQ(report.freshness(view.require("Setting.AutomaticSwitchOnDelay")),
              "unconfirmed, lost since 2023-11-14 21:13:20 (60 min ago)");
    EXPECT_EQ(report.json(view.require("Status.Mode")).at("fresh"), false);
    EXPECT_EQ(report.json(view.require("Setting.AutomaticSwitchOnDelay")).at("unconfirmed"), true);
    EXPECT_FALSE(report.json(view.require("Status.Mode")).contains("unconfirmed"));
}

TEST_F(ReportTest, AFreshValueHasNoMark) {
    const StoreView view{builder.build()};
    const Communication communication{view};
    const PointReport report{communication, Style{false}, SnapshotBuilder::NOW_MS};
    EXPECT_EQ(report.freshness(view.require("Status.Mode")), "");
    EXPECT_EQ(report.value(view.require("Measure.Voltage")), "230.1 V");
    EXPECT_EQ(report.changed(view.require("Measure.Voltage")), "2023-11-14 22:10:20 (3 min ago)");
    EXPECT_EQ(report.changed(view.require("Measure.Current")), "never");
}

TEST_F(ReportTest, AlarmsStandByLevelThenPriorityWithNoneLastThenTree) {
    builder.channel(20, "Status.A", qz::CValue{true}).activeAlarms = {
        alarm(tessapi::LevelAlarm::warning, 0, "w"), alarm(tessapi::LevelAlarm::critical, -1, "last")};
    builder.channel(20, "Status.B", qz::CValue{true}).activeAlarms = {
        alarm(tessapi::LevelAlarm::critical, 3, "second"), alarm(tessapi::LevelAlarm::critical, 0, "first")};
    const StoreView view{builder.build()};
    std::string codes;
    for (const RaisedAlarm& raised : raisedAlarms(view)) {
        codes += raised.alarm.code + " ";
    }
    EXPECT_EQ(codes, "first second last w ");
    EXPECT_EQ(jsonOf(raisedAlarms(view).front()).dump(),
              R"({"level":"critical","path":"Status.B","code":"first","priority":0,"value":true,"text":null,)"
              R"("changed":"2023-11-14T22:10:20.000Z"})");
}

TEST_F(ReportTest, AnAlarmAndALostValueHaveTheirColours) {
    builder.channel(20, "Status.A", qz::CValue{true}).activeAlarms = {
        alarm(tessapi::LevelAlarm::warning, 0, "w")};
    const StoreView view{builder.build()};
    const Communication communication{view};
    const PointReport coloured{communication, Style{true}, SnapshotBuilder::NOW_MS};
    EXPECT_EQ(coloured.value(view.require("Status.A")), "\033[33myes\033[0m");
    EXPECT_EQ(coloured.value(view.require("Measure.Voltage")), "230.1 V");
}

TEST(TableTest, ColumnsAreAsWideAsTheirWidestCellWithoutColours) {
    Table table;
    table.add({"a", "bb", "c"});
    table.add({"\033[1maaa\033[0m", "", "°C"});
    table.add({"title"});
    std::ostringstream out;
    table.print(out);
    EXPECT_EQ(out.str(), "a    bb  c\n"
                         "\033[1maaa\033[0m      °C\n"
                         "title\n");
    EXPECT_EQ(displayWidth("°C"), 2U);
}

} // namespace
} // namespace velk::cli
