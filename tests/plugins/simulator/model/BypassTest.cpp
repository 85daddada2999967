#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

namespace {

const std::string AUTOMATIC = "PowerConverters.AutomaticBypass.";
const std::string MAINTENANCE = "PowerConverters.MaintenanceBypass.";

} // namespace

TEST(BypassTest, ForcedBypassTakesTheLoadFromTheSecondInput) {
    ShippedDevice device{"ups-3ph"};
    device.run(1);
    EXPECT_EQ(device.number("Inputs.2.Measure.ActivePower"), 0);
    ASSERT_TRUE(device.act(AUTOMATIC + "Action.SwitchOn"));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnForcedBypass);
    EXPECT_GE(device.number("Inputs.2.Measure.ActivePower"), 17500);
    EXPECT_EQ(device.number("Inputs.1.Measure.ActivePower"), 0);
    EXPECT_TRUE(device.flag(AUTOMATIC + "Status.Supply"));
    EXPECT_FALSE(device.flag("PowerConverters.Inverter.Status.Supply"));
    ASSERT_TRUE(device.act(AUTOMATIC + "Action.SwitchOff"));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnLine);
    EXPECT_TRUE(device.flag("PowerConverters.Inverter.Status.Supply"));
}

TEST(BypassTest, PhasesOfTheBypassDrawWhatTheLoadDrawsThere) {
    ShippedDevice device{"ups-3ph"};
    device.model.setLoad({{}, {}, 1, 9000, {}});
    ASSERT_TRUE(device.act(AUTOMATIC + "Action.SwitchOn"));
    device.run(0.1);
    EXPECT_GT(device.number("Inputs.2.Phases.1.Measure.ActivePower"),
              device.number("Inputs.2.Phases.3.Measure.ActivePower") + 3000);
}

TEST(BypassTest, ForcedBypassIsRefusedWhereTheSourceIsBad) {
    ShippedDevice device{"ups-3ph"};
    device.mains(2, MainsState::Sag);
    device.run(0.1);
    EXPECT_FALSE(device.act(AUTOMATIC + "Action.SwitchOn"));
    ASSERT_TRUE(device.set("Setting.ForcedTransferEnabled", Value{true}));
    EXPECT_TRUE(device.act(AUTOMATIC + "Action.SwitchOn"));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnForcedBypass);
}

TEST(BypassTest, ForcedBypassIsRefusedWhereTransfersAreNotEnabled) {
    ShippedDevice device{"ups-3ph"};
    ASSERT_TRUE(device.set("Setting.BypassTransferEnabled", Value{false}));
    EXPECT_FALSE(device.act(AUTOMATIC + "Action.SwitchOn"));
}

TEST(BypassTest, LoadGoesBackToTheConvertersWhenTheBypassFails) {
    ShippedDevice device{"ups-3ph"};
    ASSERT_TRUE(device.act(AUTOMATIC + "Action.SwitchOn"));
    device.run(0.1);
    device.mains(2, MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnLine);
}

TEST(BypassTest, FailedInverterPutsTheLoadOnAutomaticBypass) {
    ShippedDevice device{"ups-3ph"};
    const std::string failure = "PowerConverters.Inverter.Status.InternalFailure";
    ASSERT_FALSE(device.model.write(failure, Value{true})) << "nobody far away breaks an inverter";
    ASSERT_TRUE(device.model.write(failure, Value{true}, Origin::Panel));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnAutomaticBypass);
    device.mains(2, MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::Off);
}

TEST(BypassTest, LongOverloadGoesToTheBypassAndBackWhenItHasCooled) {
    ShippedDevice device{"ups-3ph"};
    device.model.setLoad({{}, 1, {}, {}, 140});
    device.run(1);
    EXPECT_TRUE(device.flag("Outputs.1.Status.CriticalOverload"));
    EXPECT_EQ(device.mode(), Mode::OnLine);
    device.run(60);
    EXPECT_EQ(device.mode(), Mode::OnAutomaticBypass);
    EXPECT_TRUE(device.flag("Status.ThermalOverload"));
    device.model.setLoad({{}, 1, {}, {}, 40});
    device.run(60);
    EXPECT_EQ(device.mode(), Mode::OnLine);
    EXPECT_FALSE(device.flag("Status.ThermalOverload"));
}

TEST(BypassTest, MaintenanceBypassLosesNothing) {
    ShippedDevice device{"ups-3ph"};
    ASSERT_TRUE(device.act(MAINTENANCE + "Action.SwitchOn"));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnMaintenanceBypass);
    EXPECT_EQ(device.model.balance().losses, 0);
    EXPECT_TRUE(device.flag(MAINTENANCE + "Status.Supply"));
    ASSERT_TRUE(device.act(MAINTENANCE + "Action.SwitchOff"));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnLine);
}

TEST(BypassTest, HighEfficiencySavesLosses) {
    ShippedDevice device{"ups-3ph"};
    device.run(0.1);
    const double before = device.number("Outputs.1.Measure.Efficiency");
    ASSERT_TRUE(device.set("Setting.HighEfficiencyEnabled", Value{true}));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnHighEfficiency);
    EXPECT_GT(device.number("Outputs.1.Measure.Efficiency"), before + 1);
    EXPECT_LT(device.number("Outputs.1.Measure.Efficiency"), 100);
}

TEST(BypassTest, InverterHoldsVoltageThroughSagAndSwell) {
    ShippedDevice device{"ups-3ph"};
    for (const MainsState state : {MainsState::Sag, MainsState::Swell}) {
        device.mains(state);
        device.run(0.1);
        EXPECT_EQ(device.mode(), Mode::OnLine);
        EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.Voltage"), 230);
    }
    EXPECT_FLOAT_EQ(device.number("Inputs.1.Measure.Voltage"), 276);
}

TEST(BypassTest, InverterFollowsTheFrequencyOfTheBypassWithinItsLimit) {
    ShippedDevice device{"ups-3ph"};
    device.model.setMains({{}, {}, {}, {}, 50.5});
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.Frequency"), 50.5);
    device.model.setMains({{}, {}, {}, {}, 52});
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.Frequency"), 50);
    ASSERT_TRUE(device.set("Setting.FrequencyDeviationLimit", Value{5.0F}));
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.Frequency"), 52);
    ASSERT_TRUE(device.set("Setting.FrequencyConverterEnabled", Value{true}));
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.Frequency"), 50);
}

TEST(BypassTest, StagesOfTheConversionPassOnWhatTheyGetLessTheirLosses) {
    ShippedDevice device{"ups-3ph"};
    device.charge(50);
    device.run(0.1);
    const PowerBalance flow = device.model.balance();
    const double converting = flow.losses - (flow.charging / 0.92 - flow.charging);
    EXPECT_NEAR(device.number("PowerConverters.Inverter.Measure.ActivePower"), 17500, 0.01);
    EXPECT_NEAR(device.number("PowerConverters.DcBus.Measure.ActivePower"), 17500 + converting / 2, 0.01);
    const double rectifier = device.number("PowerConverters.Rectifier.Measure.ActivePower");
    EXPECT_NEAR(rectifier, 17500 + converting / 2 + flow.charging / 0.92, 0.01);
    const double efficiency = device.number("PowerConverters.Rectifier.Measure.Efficiency");
    EXPECT_NEAR(rectifier * 100 / efficiency, flow.input, 0.01);
}

TEST(BypassTest, RedundancyFollowsLoadAndLevel) {
    ShippedDevice device{"ups-3ph"};
    device.run(0.1);
    EXPECT_TRUE(device.flag("PowerModules.Status.Redundant"));
    ASSERT_TRUE(device.set("PowerModules.Setting.RedundancyLevel", Value{std::uint32_t{3}}));
    EXPECT_FALSE(device.flag("PowerModules.Status.Redundant"));
    EXPECT_TRUE(device.flag("PowerModules.Status.RedundancyLoss"));
    ASSERT_TRUE(device.set("PowerModules.Setting.RedundancyLevel", Value{std::uint32_t{0}}));
    EXPECT_FALSE(device.flag("PowerModules.Status.Redundant"));
    EXPECT_FALSE(device.flag("PowerModules.Status.RedundancyLoss"));
}

TEST(BypassTest, EmergencySwitchOffCutsTheLoadForGood) {
    ShippedDevice device{"ups-3ph"};
    ASSERT_TRUE(device.model.write("Status.EmergencySwitchOff", Value{true}, Origin::Panel));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::Off);
    ASSERT_TRUE(device.model.write("Status.EmergencySwitchOff", Value{false}, Origin::Panel));
    device.run(60);
    EXPECT_EQ(device.mode(), Mode::Off);
    ASSERT_TRUE(device.act("Outputs.1.Action.SwitchOn", 0));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnLine);
}

} // namespace velk::simulator
