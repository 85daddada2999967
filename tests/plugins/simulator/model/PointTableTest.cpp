#include "plugins/simulator/model/PointTable.h"

#include "plugins/simulator/model/MemberTypes.h"
#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

#include <limits>

namespace velk::simulator {

TEST(PointTableTest, SettingTakesItsTypeAndItsRangeAlone) {
    ShippedDevice device{"ups-3ph"};
    const std::string path = "BackupSystem.PowerBank.Setting.LowStateOfChargeThreshold";
    EXPECT_TRUE(device.set(path, Value{5.0F}));
    EXPECT_TRUE(device.set(path, Value{90.0F}));
    EXPECT_FALSE(device.set(path, Value{90.5F}));
    EXPECT_FALSE(device.set(path, Value{4.0F}));
    EXPECT_FALSE(device.set(path, Value{std::int32_t{50}}));
    EXPECT_FALSE(device.set(path, Value{std::numeric_limits<float>::quiet_NaN()}));
    EXPECT_FALSE(device.set(path, Value{}));
    EXPECT_EQ(device.model.read(path), Value{90.0F});
    const PointInfo* info = device.model.find(path);
    ASSERT_NE(info, nullptr);
    EXPECT_TRUE(info->writable && info->readable);
    EXPECT_EQ(info->min, 5);
    EXPECT_EQ(info->max, 90);
}

TEST(PointTableTest, MultiStateSettingTakesItsStatesAlone) {
    ShippedDevice device{"ats"};
    EXPECT_EQ(device.model.find("Setting.PreferredSource")->choices, (std::vector<std::uint32_t>{1, 2}));
    EXPECT_TRUE(device.set("Setting.PreferredSource", Value{std::uint32_t{2}}));
    EXPECT_FALSE(device.set("Setting.PreferredSource", Value{std::uint32_t{3}}));
    EXPECT_FALSE(device.set("Setting.PreferredSource", Value{std::uint32_t{0}}));
}

TEST(PointTableTest, StatusIsWrittenAtThePanelAloneAndOnlyWhereNothingMovesIt) {
    ShippedDevice device{"ups-3ph"};
    EXPECT_FALSE(device.model.write("Status.FanFault", Value{true}));
    EXPECT_TRUE(device.model.write("Status.FanFault", Value{true}, Origin::Panel));
    EXPECT_TRUE(device.flag("Status.FanFault"));
    EXPECT_FALSE(device.model.write("Status.FanFault", Value{1.0F}, Origin::Panel));
    EXPECT_FALSE(device.model.write("Outputs.1.Status.Overload", Value{true}, Origin::Panel));
    EXPECT_FALSE(device.model.write("Inputs.1.Measure.Voltage", Value{1.0F}, Origin::Panel));
}

TEST(PointTableTest, WithoutRemoteControlOnlyThePanelIsObeyed) {
    ShippedDevice device{"pdu-42"};
    ASSERT_TRUE(device.set("Setting.RemoteControlEnabled", Value{false}));
    EXPECT_FALSE(device.act("Outlets.1.Action.SwitchOff"));
    EXPECT_FALSE(device.set("Outlets.1.Setting.ForcedRebootDuration", Value{std::int32_t{20}}));
    EXPECT_TRUE(device.model.write("Outlets.1.Action.SwitchOff", Value{}, Origin::Panel));
    EXPECT_TRUE(device.set("Setting.RemoteControlEnabled", Value{true}));
    EXPECT_TRUE(device.act("Outlets.1.Action.SwitchOn"));
}

TEST(PointTableTest, UnknownPathIsNotWritten) {
    ShippedDevice device{"pdu-42"};
    EXPECT_FALSE(device.set("Outlets.43.Action.SwitchOff", Value{true}));
    EXPECT_FALSE(device.set("", Value{true}));
}

TEST(PointTableTest, ActionsReadAsNothing) {
    ShippedDevice device{"pdu-42"};
    EXPECT_FALSE(device.model.read("Outlets.1.Action.SwitchOff").hasValue());
    const PointInfo* info = device.model.find("Outlets.1.Action.SwitchOff");
    ASSERT_NE(info, nullptr);
    EXPECT_TRUE(info->writable);
    EXPECT_FALSE(info->readable);
}

TEST(PointTableTest, ActionsTakeTheirOwnKindOfValue) {
    ShippedDevice device{"ups-3ph"};
    EXPECT_FALSE(device.set("Outlets.1.Action.SwitchOff", Value{false}));
    EXPECT_FALSE(device.set("Outlets.1.Action.SwitchOff", Value{std::int32_t{-1}}));
    EXPECT_FALSE(device.set("Outlets.1.Action.SwitchOff", Value{1.0F}));
    EXPECT_TRUE(device.set("Outlets.1.Action.SwitchOff", Value{true}));
    EXPECT_FALSE(device.set("BackupSystem.PowerBank.Action.StartTest", Value{false}));
    EXPECT_FALSE(device.set("BackupSystem.PowerBank.Action.StartTest", Value{std::int32_t{1}}));
    EXPECT_FALSE(device.set("PrivateAction.ExportKdp", Value{1.0F}));
    EXPECT_TRUE(device.set("PrivateAction.ExportKdp", Value{std::string{"all"}}));
}

TEST(PointTableTest, DeviceShowsWhatTheHostTellsOfItself) {
    ShippedDevice device{"ups-3ph"};
    EXPECT_FALSE(device.model.read("Connectivity.Attribute.Ipv4").hasValue());
    EXPECT_TRUE(device.set("Connectivity.PrivateAction.SetIpv4Address", Value{std::string{"192.0.2.7"}}));
    EXPECT_EQ(device.model.read("Connectivity.Attribute.Ipv4"), Value{std::string{"192.0.2.7"}});
    EXPECT_FALSE(device.set("Connectivity.PrivateAction.SetIpv4Address", Value{true}));
    for (const auto& [action, attribute] : {std::pair{"SetIpv6Address", "Ipv6"},
                                            {"SetMacAddress", "MacAddress"},
                                            {"SetFirmwareVersion", "FirmwareVersion"},
                                            {"SetProductName", "ProductName"}}) {
        const Value told{std::string{"told by "} + action};
        EXPECT_TRUE(device.set(std::string{"Connectivity.PrivateAction."} + action, told));
        EXPECT_EQ(device.model.read(std::string{"Connectivity.Attribute."} + attribute), told);
    }
}

TEST(PointTableTest, PathsAreCutWhereTheDataPointBegins) {
    const PathText cut = splitPath("PowerConverters.Inverter.Phases.2.Measure.Voltage");
    EXPECT_EQ(cut.node, "PowerConverters.Inverter.Phases.2");
    EXPECT_EQ(cut.member, "Measure.Voltage");
    EXPECT_EQ(splitPath("Setting.Voltage.HighWarningThreshold").node, "");
    EXPECT_EQ(splitPath("Setting.Voltage.HighWarningThreshold").member,
              "Setting.Voltage.HighWarningThreshold");
    EXPECT_EQ(splitPath("Outlets.3").member, "");
    EXPECT_EQ(splitPath("").node, "");
    EXPECT_EQ(indexOf("12"), 12U);
    EXPECT_EQ(indexOf("1x"), std::nullopt);
    EXPECT_EQ(indexOf(""), std::nullopt);
    EXPECT_EQ(nodesOf("A.1"), (std::vector<std::string>{"A", "1"}));
}

TEST(PointTableTest, ComputedPointsAreOfTheVocabulary) {
    PointTable table{{}};
    EXPECT_THROW(table.compute("Inputs.1.Measure.Nothing", [] { return Value{}; }), std::logic_error);
}

TEST(PointTableTest, KnobFollowsItsPointOrFallsBack) {
    PointTable table{{}};
    table.hold("Setting.Temperature", Value{20.0F}, {PointType::Float, true, true, {}, {}, {}});
    const auto knob = table.knob<float>("Setting.Temperature", 5);
    EXPECT_TRUE(knob.exists());
    EXPECT_TRUE(table.write("Setting.Temperature", Value{21.0F}, false));
    EXPECT_EQ(knob.get(), 21);
    EXPECT_EQ(table.knob<bool>("Setting.Temperature", true).get(), true) << "of another type";
    EXPECT_FALSE(table.knob<float>("Setting.NominalVoltage", 5).exists());
    EXPECT_EQ(table.knob<float>("Setting.NominalVoltage", 5).get(), 5);
}

} // namespace velk::simulator
