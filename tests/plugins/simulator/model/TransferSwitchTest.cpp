#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

namespace {

std::uint32_t source(const ShippedDevice& device) {
    return device.state("PowerConverters.TransferSwitch.Status.Source");
}

} // namespace

TEST(TransferSwitchTest, LoadGoesToTheOtherSourceAndBackWhenThePreferredOneIsGoodAgain) {
    ShippedDevice device{"ats"};
    EXPECT_EQ(device.mode(), Mode::OnPreferredSource);
    EXPECT_EQ(source(device), 1U);
    device.mains(1, MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnAlternateSource);
    EXPECT_EQ(source(device), 2U);
    EXPECT_EQ(device.state("Outputs.1.Status.Source"), 2U);
    EXPECT_GT(device.number("Inputs.2.Measure.ActivePower"), 900);
    EXPECT_EQ(device.number("Inputs.1.Measure.ActivePower"), 0);
    device.mains(1, MainsState::Normal);
    device.run(4.8);
    EXPECT_EQ(source(device), 2U);
    device.run(0.4);
    EXPECT_EQ(source(device), 1U);
}

TEST(TransferSwitchTest, PreferredSourceIsASetting) {
    ShippedDevice device{"ats"};
    ASSERT_TRUE(device.set("Setting.PreferredSource", Value{std::uint32_t{2}}));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnPreferredSource);
    EXPECT_EQ(source(device), 2U);
    EXPECT_FALSE(device.flag("Inputs.1.Status.Used"));
    EXPECT_TRUE(device.flag("Inputs.2.Status.Used"));
}

TEST(TransferSwitchTest, BadVoltageIsReasonEnough) {
    ShippedDevice device{"ats"};
    device.mains(1, MainsState::Sag);
    device.run(0.1);
    EXPECT_EQ(source(device), 2U);
    EXPECT_TRUE(device.flag("Inputs.1.Status.Supplied"));
    EXPECT_FALSE(device.flag("Inputs.1.Status.InRange"));
}

TEST(TransferSwitchTest, SourceOutOfToleranceIsTakenOnlyWhereThatIsAllowed) {
    ShippedDevice device{"ats"};
    device.mains(1, MainsState::Sag);
    device.mains(2, MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::Off);
    EXPECT_EQ(source(device), 0U);
    EXPECT_FALSE(device.flag("Outputs.1.Status.Supply"));
    ASSERT_TRUE(device.set("Setting.OutOfToleranceTransferEnabled", Value{true}));
    device.run(0.1);
    EXPECT_EQ(source(device), 1U);
    EXPECT_NEAR(device.number("Outputs.1.Measure.Voltage"), 184, 0.01);
}

TEST(TransferSwitchTest, LimitsOfASourceFollowTheirSettings) {
    ShippedDevice device{"ats"};
    device.model.setMains({1, {}, {}, 205, {}});
    device.run(0.1);
    EXPECT_EQ(source(device), 1U);
    ASSERT_TRUE(device.set("Inputs.1.Setting.Voltage.LowCriticalThreshold", Value{210.0F}));
    device.run(0.1);
    EXPECT_EQ(source(device), 2U);
}

TEST(TransferSwitchTest, WithoutBothSourcesTheLoadIsOffAndComesBackByItself) {
    ShippedDevice device{"ats"};
    device.mains(MainsState::Lost);
    device.run(1);
    EXPECT_EQ(device.mode(), Mode::Off);
    EXPECT_EQ(device.model.balance().losses, 0);
    device.mains(2, MainsState::Normal);
    device.run(6);
    EXPECT_EQ(device.mode(), Mode::OnAlternateSource);
    EXPECT_TRUE(device.flag("Outputs.1.Status.Supply"));
}

} // namespace velk::simulator
