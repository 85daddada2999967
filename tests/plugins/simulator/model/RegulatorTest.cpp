#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

TEST(RegulatorTest, RaisesALowVoltageAndLowersAHighOne) {
    ShippedDevice device{"ups-1ph"};
    device.mains(MainsState::Sag);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBoost);
    EXPECT_TRUE(device.flag("PowerConverters.Avr.Status.OnBoost"));
    EXPECT_NEAR(device.number("Outputs.1.Measure.Voltage"), 184 * 1.15, 0.01);
    device.mains(MainsState::Swell);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBuck);
    EXPECT_TRUE(device.flag("PowerConverters.Avr.Status.OnBuck"));
    EXPECT_FALSE(device.flag("PowerConverters.Avr.Status.OnBoost"));
    EXPECT_NEAR(device.number("Outputs.1.Measure.Voltage"), 276 * 0.87, 0.01);
    device.mains(MainsState::Normal);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnLineInteractiveNormal);
}

TEST(RegulatorTest, DetectionFollowsItsSetting) {
    ShippedDevice device{"ups-1ph"};
    device.mainsVoltage(215);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnLineInteractiveNormal);
    ASSERT_TRUE(device.set("Inputs.1.Setting.VoltageLowDetection", Value{220.0F}));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBoost);
}

TEST(RegulatorTest, VoltageOutsideItsLimitsGoesToBatteryAndComesBackWithHysteresis) {
    ShippedDevice device{"ups-1ph"};
    device.mainsVoltage(167);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    EXPECT_TRUE(device.flag("Inputs.1.Status.VoltageTooLow"));
    EXPECT_TRUE(device.flag("Inputs.1.Status.VoltageOutOfRange"));
    device.mainsVoltage(170);
    device.run(60);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    device.mainsVoltage(172);
    device.run(4);
    EXPECT_EQ(device.mode(), Mode::OnBoost);
    EXPECT_FALSE(device.flag("Inputs.1.Status.VoltageOutOfRange"));
}

TEST(RegulatorTest, LimitsFollowTheirSettings) {
    ShippedDevice device{"ups-1ph"};
    device.mainsVoltage(285);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBuck);
    ASSERT_TRUE(device.set("Inputs.1.Setting.Voltage.HighCriticalThreshold", Value{280.0F}));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    EXPECT_TRUE(device.flag("Inputs.1.Status.VoltageTooHigh"));
}

TEST(RegulatorTest, BadFrequencyGoesToBattery) {
    ShippedDevice device{"ups-1ph"};
    device.model.setMains({{}, {}, {}, {}, 60});
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    EXPECT_TRUE(device.flag("Inputs.1.Status.FrequencyOutOfRange"));
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.Frequency"), 50);
}

TEST(RegulatorTest, ALongOverloadSwitchesTheOutputOff) {
    ShippedDevice device{"ups-1ph"};
    device.model.setLoad({{}, 1, {}, {}, 150});
    device.run(60);
    EXPECT_EQ(device.mode(), Mode::Off);
    device.run(60);
    EXPECT_EQ(device.mode(), Mode::Off) << "it does not come back by itself";
}

TEST(RegulatorTest, SinceTellsWhenTheModeBegan) {
    ShippedDevice device{"ups-1ph"};
    device.run(100);
    EXPECT_EQ(device.model.read("Status.Since"), Value{conv::UnixTime{1767225600}});
    device.mains(MainsState::Sag);
    device.run(10);
    EXPECT_EQ(device.model.read("Status.Since"), Value{conv::UnixTime{1767225700}});
}

} // namespace velk::simulator
