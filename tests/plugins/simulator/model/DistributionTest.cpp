#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

TEST(DistributionTest, OutletTakesItsLoadAway) {
    ShippedDevice device{"pdu-42"};
    device.run(0.1);
    const double branch = device.number("Branches.1.Measure.ActivePower");
    const double input = device.number("Inputs.1.Measure.ActivePower");
    ASSERT_TRUE(device.act("Outlets.1.Action.SwitchOff"));
    device.run(0.1);
    EXPECT_FALSE(device.flag("Outlets.1.Status.SwitchedOn"));
    EXPECT_FALSE(device.flag("Outlets.1.Status.Supply"));
    EXPECT_EQ(device.number("Outlets.1.Measure.ActivePower"), 0);
    EXPECT_FLOAT_EQ(static_cast<float>(device.number("Branches.1.Measure.ActivePower")),
                    static_cast<float>(branch - 210));
    EXPECT_NEAR(device.number("Inputs.1.Measure.ActivePower"), input - 210, 1);
    ASSERT_TRUE(device.act("Outlets.1.Action.SwitchOn"));
    device.run(0.1);
    EXPECT_FLOAT_EQ(static_cast<float>(device.number("Branches.1.Measure.ActivePower")),
                    static_cast<float>(branch));
}

TEST(DistributionTest, LostPhaseTakesItsBranchesAlone) {
    ShippedDevice device{"pdu-42"};
    device.model.setMains({1, 2, MainsState::Lost, {}, {}});
    device.run(0.1);
    EXPECT_TRUE(device.flag("Branches.1.Status.Supply"));
    EXPECT_FALSE(device.flag("Branches.3.Status.Supply"));
    EXPECT_FALSE(device.flag("Branches.4.Status.Supply"));
    EXPECT_TRUE(device.flag("Branches.5.Status.Supply"));
    EXPECT_EQ(device.number("Inputs.1.Phases.2.Measure.Current"), 0);
    EXPECT_FALSE(device.flag("Inputs.1.Status.Supplied"));
    EXPECT_EQ(device.mode(), Mode::OnLine);
    device.mains(MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::Off);
    EXPECT_EQ(device.model.balance().losses, 0);
}

TEST(DistributionTest, BreakerTripsUnderLongOverloadAndIsResetByHand) {
    ShippedDevice device{"pdu-42"};
    for (std::uint32_t outlet = 1; outlet <= 7; ++outlet) {
        device.outletLoad(outlet, 1000);
    }
    device.run(5);
    EXPECT_TRUE(device.flag("Branches.1.Status.OverCurrent"));
    EXPECT_TRUE(device.flag("Branches.1.Status.CriticalOverload"));
    EXPECT_TRUE(device.flag("Branches.1.Status.Supply"));
    device.run(30);
    EXPECT_TRUE(device.flag("Branches.1.Status.BreakerTripped"));
    EXPECT_FALSE(device.flag("Outlets.3.Status.Supply"));
    EXPECT_EQ(device.number("Branches.1.Measure.Current"), 0);
    EXPECT_EQ(device.state("Branches.1.Status.OperatingStatus"), 5U);
    device.outletLoad(1, 0);
    device.outletLoad(2, 0);
    device.outletLoad(3, 0);
    device.outletLoad(4, 0);
    ASSERT_TRUE(device.act("Branches.1.Action.SwitchOn"));
    device.run(60);
    EXPECT_FALSE(device.flag("Branches.1.Status.BreakerTripped"));
    EXPECT_EQ(device.state("Branches.1.Status.OperatingStatus"), 16U);
}

TEST(DistributionTest, BreakerHoldsItsRatedCurrentForEver) {
    ShippedDevice device{"pdu-42"};
    device.model.setLoad({{}, {}, 1, 2 * 16 * 230 * 0.96 * 0.99, {}});
    device.run(0.1);
    EXPECT_GT(device.number("Branches.1.Measure.Current"), 15);
    for (int hour = 0; hour < 24; ++hour) {
        device.model.step(std::chrono::hours{1});
    }
    EXPECT_FALSE(device.flag("Branches.1.Status.BreakerTripped"));
}

TEST(DistributionTest, OutletIsSwitchedOffAtItsBranch) {
    ShippedDevice device{"pdu-42"};
    ASSERT_TRUE(device.act("Branches.6.Action.SwitchOff"));
    device.run(0.1);
    EXPECT_FALSE(device.flag("Outlets.42.Status.Supply"));
    EXPECT_TRUE(device.flag("Outlets.42.Status.SwitchedOn"));
    EXPECT_FALSE(device.act("Branches.6.Action.SwitchOn", 10)) << "a breaker takes no delay";
}

TEST(DistributionTest, LimitOfTheCurrentMovesItsStatus) {
    ShippedDevice device{"pdu-42"};
    device.run(0.1);
    EXPECT_FALSE(device.flag("Outlets.1.Status.CurrentTooHigh"));
    ASSERT_TRUE(device.set("Outlets.1.Setting.Current.HighWarningThreshold", Value{0.5F}));
    EXPECT_TRUE(device.flag("Outlets.1.Status.CurrentTooHigh"));
    ASSERT_TRUE(device.set("Inputs.1.Phases.1.Setting.Current.HighWarningThreshold", Value{1.0F}));
    EXPECT_TRUE(device.flag("Inputs.1.Phases.1.Status.CurrentTooHigh"));
    EXPECT_FALSE(device.flag("Inputs.1.Phases.2.Status.CurrentTooHigh"));
}

TEST(DistributionTest, NeutralCarriesWhatThePhasesDoNotShare) {
    ShippedDevice device{"pdu-42"};
    for (std::uint32_t phase = 1; phase <= 3; ++phase) {
        device.model.setLoad({{}, {}, phase, 1000, {}});
    }
    device.run(0.1);
    EXPECT_NEAR(device.number("Inputs.1.Measure.NeutralCurrent"), 0, 1e-4);
    device.model.setLoad({{}, {}, 1, 3000, {}});
    device.run(0.1);
    EXPECT_NEAR(device.number("Inputs.1.Measure.NeutralCurrent"), 2000 / 0.96 / 230, 0.05);
    EXPECT_FLOAT_EQ(device.number("Inputs.1.Phases.1.Measure.VoltageLL"), 398.37170F);
}

TEST(DistributionTest, WarmRoomFollowsItsThreshold) {
    ShippedDevice device{"pdu-42"};
    EXPECT_FALSE(device.flag("Environment.Status.TemperatureTooHigh"));
    ASSERT_TRUE(device.model.write("Environment.Measure.Temperature", Value{36.0F}, Origin::Panel));
    EXPECT_TRUE(device.flag("Environment.Status.TemperatureTooHigh"));
    EXPECT_TRUE(device.flag("Environment.Status.TemperatureOutOfRange"));
    ASSERT_TRUE(device.set("Environment.Setting.Temperature.HighWarningThreshold", Value{38.0F}));
    EXPECT_FALSE(device.flag("Environment.Status.TemperatureTooHigh"));
}

} // namespace velk::simulator
