#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

namespace {

const std::string BANK = "BackupSystem.PowerBank.";

constexpr std::uint32_t OFF = 0;
constexpr std::uint32_t CHARGING = 1;
constexpr std::uint32_t FLOATING = 2;
constexpr std::uint32_t DISCHARGING = 4;

} // namespace

TEST(BatteryTest, CarriesTheLoadWhenTheMainsFail) {
    ShippedDevice device{"ups-3ph"};
    device.mains(MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    EXPECT_TRUE(device.flag(BANK + "Status.Supply"));
    EXPECT_FALSE(device.flag("Inputs.1.Status.Supplied"));
    EXPECT_TRUE(device.flag("Outputs.1.Status.Supply"));
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.ActivePower"), 17500);
    EXPECT_EQ(device.number("Inputs.1.Measure.Voltage"), 0);
    EXPECT_LT(device.number(BANK + "Measure.Current"), 0);
    EXPECT_EQ(device.state(BANK + "Chargers.1.Status.ChargerStatus"), DISCHARGING);
}

TEST(BatteryTest, TheTimeLeftIsTheTimeThatItThenTakes) {
    ShippedDevice device{"ups-1ph"};
    device.mains(MainsState::Lost);
    device.run(0.1);
    const auto told = device.model.read(BANK + "Measure.RemainingTime").get<std::uint32_t>();
    device.run(told - 2);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    device.run(4);
    EXPECT_EQ(device.mode(), Mode::Off);
    EXPECT_TRUE(device.flag(BANK + "Status.Depleted"));
    EXPECT_FALSE(device.flag("Outputs.1.Status.Supply"));
}

TEST(BatteryTest, MoreLoadLeavesLessTime) {
    ShippedDevice device{"ups-1ph"};
    device.run(1);
    const auto before = device.state(BANK + "Measure.RemainingTime");
    device.outletLoad(1, 600);
    device.run(1);
    EXPECT_LT(device.state(BANK + "Measure.RemainingTime"), before / 1.8);
}

TEST(BatteryTest, ComesBackWithTheMainsAfterItsPauseOnceItHasItsCharge) {
    ShippedDevice device{"ups-1ph"};
    ASSERT_TRUE(device.set("Setting.AutomaticRestartLevel", Value{10.0F}));
    device.charge(4);
    device.mains(MainsState::Lost);
    device.run(60);
    ASSERT_EQ(device.mode(), Mode::Off);
    device.mains(MainsState::Normal);
    device.run(10);
    EXPECT_EQ(device.mode(), Mode::Off);
    EXPECT_TRUE(device.flag("Status.StartupPending"));
    EXPECT_EQ(device.state(BANK + "Chargers.1.Status.ChargerStatus"), CHARGING);
    device.charge(11);
    device.run(2.5);
    EXPECT_EQ(device.mode(), Mode::Off);
    device.run(1);
    EXPECT_EQ(device.mode(), Mode::OnLineInteractiveNormal);
    EXPECT_FALSE(device.flag(BANK + "Status.Depleted"));
}

TEST(BatteryTest, StaysOffWhereItIsNotToRestart) {
    ShippedDevice device{"ups-1ph"};
    ASSERT_TRUE(device.set("Setting.AutomaticRestartEnabled", Value{false}));
    device.charge(3);
    device.mains(MainsState::Lost);
    device.run(60);
    device.mains(MainsState::Normal);
    device.run(600);
    EXPECT_EQ(device.mode(), Mode::Off);
    EXPECT_TRUE(device.act("Outputs.1.Action.SwitchOn", 0));
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnLineInteractiveNormal);
}

TEST(BatteryTest, MainsAreTrustedAfterAWhileOnly) {
    ShippedDevice device{"ups-3ph"};
    device.mains(MainsState::Lost);
    device.run(1);
    device.mains(MainsState::Normal);
    device.run(2.8);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    device.run(0.4);
    EXPECT_EQ(device.mode(), Mode::OnLine);
}

TEST(BatteryTest, OnePhaseThatFailsIsEnough) {
    ShippedDevice device{"ups-3ph"};
    device.model.setMains({1, 2, MainsState::Lost, {}, {}});
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    EXPECT_EQ(device.number("Inputs.1.Phases.2.Measure.Voltage"), 0);
    EXPECT_GT(device.number("Inputs.1.Phases.1.Measure.Voltage"), 0);
}

TEST(BatteryTest, LowChargeFollowsItsThreshold) {
    ShippedDevice device{"ups-3ph"};
    device.charge(40);
    device.run(0.1);
    EXPECT_FALSE(device.flag(BANK + "Status.LowStateOfCharge"));
    ASSERT_TRUE(device.set(BANK + "Setting.LowStateOfChargeThreshold", Value{45.0F}));
    EXPECT_TRUE(device.flag(BANK + "Status.LowStateOfCharge"));
}

TEST(BatteryTest, ShortTimeFollowsItsThreshold) {
    ShippedDevice device{"ups-3ph"};
    device.run(0.1);
    EXPECT_FALSE(device.flag(BANK + "Status.LowRuntime"));
    ASSERT_TRUE(device.set(BANK + "Setting.LowRuntimeThreshold", Value{3600.0F}));
    EXPECT_TRUE(device.flag(BANK + "Status.LowRuntime"));
}

TEST(BatteryTest, ChargesFullPowerFirstThenLessThenFloats) {
    ShippedDevice device{"ups-3ph"};
    device.charge(50);
    device.run(0.1);
    EXPECT_EQ(device.state(BANK + "Chargers.2.Status.ChargerStatus"), CHARGING);
    EXPECT_DOUBLE_EQ(device.model.balance().charging, 4000);
    device.charge(95);
    device.run(0.1);
    EXPECT_NEAR(device.model.balance().charging, 2000, 1);
    device.charge(99.99);
    device.run(60);
    EXPECT_EQ(device.state(BANK + "Chargers.2.Status.ChargerStatus"), FLOATING);
    EXPECT_EQ(device.model.balance().charging, 0);
    EXPECT_FLOAT_EQ(device.number(BANK + "Measure.StateOfCharge"), 100);
}

TEST(BatteryTest, TestRunsFromTheBatteryAndTellsItsResult) {
    ShippedDevice device{"ups-3ph"};
    EXPECT_FALSE(device.model.read(BANK + "Status.LastTestResult").hasValue());
    EXPECT_TRUE(device.model.write(BANK + "Action.StartTest", Value{true}));
    device.run(5);
    EXPECT_EQ(device.state(BANK + "Status.TestStatus"), 1U);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    EXPECT_FALSE(device.act(BANK + "Action.StartTest")) << "one runs already";
    device.run(6);
    EXPECT_EQ(device.state(BANK + "Status.TestStatus"), 0U);
    EXPECT_EQ(device.state(BANK + "Status.LastTestResult"), 1U);
    EXPECT_EQ(device.model.read(BANK + "Status.LastTestResultDate"), Value{conv::UnixTime{1767225610}});
    EXPECT_EQ(device.model.read(BANK + "Status.LastSuccessfulTestDate"), Value{conv::UnixTime{1767225610}});
    EXPECT_EQ(device.mode(), Mode::OnLine);
}

TEST(BatteryTest, TestOfAFailedBatteryFailsAndTheLoadStaysOn) {
    ShippedDevice device{"ups-3ph"};
    device.model.setBattery({{}, true, {}, {}});
    ASSERT_TRUE(device.act(BANK + "Action.StartTest"));
    device.run(0.2);
    EXPECT_EQ(device.state(BANK + "Status.LastTestResult"), 2U);
    EXPECT_FALSE(device.model.read(BANK + "Status.LastSuccessfulTestDate").hasValue());
    EXPECT_EQ(device.mode(), Mode::OnLine);
    EXPECT_TRUE(device.flag(BANK + "Status.NeedService"));
    EXPECT_EQ(device.state(BANK + "Status.BmsFailure"), 1U);
}

TEST(BatteryTest, TestIsAbortedByHandAndByTheMains) {
    ShippedDevice device{"ups-1ph"};
    EXPECT_FALSE(device.act(BANK + "Action.AbortTest")) << "none runs";
    ASSERT_TRUE(device.act(BANK + "Action.StartTest"));
    device.run(1);
    EXPECT_TRUE(device.act(BANK + "Action.AbortTest"));
    EXPECT_EQ(device.state(BANK + "Status.LastTestResult"), 3U);
    ASSERT_TRUE(device.act(BANK + "Action.StartTest"));
    device.mains(MainsState::Lost);
    device.run(0.2);
    EXPECT_EQ(device.state(BANK + "Status.TestStatus"), 0U);
    EXPECT_EQ(device.state(BANK + "Status.LastTestResult"), 3U);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
}

TEST(BatteryTest, AbsentBatteryCarriesNothing) {
    ShippedDevice device{"ups-1ph"};
    device.model.setBattery({{}, {}, false, {}});
    device.run(0.1);
    EXPECT_EQ(device.state(BANK + "Status.StoragePresent"), 2U);
    EXPECT_EQ(device.number(BANK + "Measure.Voltage"), 0);
    EXPECT_EQ(device.state(BANK + "Chargers.1.Status.ChargerStatus"), OFF);
    device.mains(MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::Off);
}

TEST(BatteryTest, DeviceSetUpWithoutStorageSaysSoAndDoesWithout) {
    ShippedDevice device{"ups-3ph"};
    ASSERT_TRUE(device.set("Setting.NoStorageModeEnabled", Value{true}));
    device.mains(1, MainsState::Lost);
    device.run(0.1);
    EXPECT_EQ(device.state(BANK + "Status.StoragePresent"), 3U);
    EXPECT_EQ(device.mode(), Mode::OnAutomaticBypass);
}

TEST(BatteryTest, DeepDischargeProtectionLeavesARest) {
    ShippedDevice device{"ups-1ph"};
    device.charge(3);
    device.mains(MainsState::Lost);
    device.run(120);
    EXPECT_NEAR(device.number(BANK + "Measure.StateOfCharge"), 2, 0.11);
    ShippedDevice unprotected{"ups-1ph"};
    ASSERT_TRUE(unprotected.set("Setting.DeepDischargeProtectionEnabled", Value{false}));
    unprotected.charge(3);
    unprotected.mains(MainsState::Lost);
    unprotected.run(120);
    EXPECT_NEAR(unprotected.number(BANK + "Measure.StateOfCharge"), 0, 0.11);
}

TEST(BatteryTest, SleepsWhenTheLoadIsLowForLongOnBattery) {
    ShippedDevice device{"ups-1ph"};
    ASSERT_TRUE(device.set("Setting.AutomaticSleepDelay", Value{std::int32_t{30}}));
    device.model.setLoad({{}, 1, {}, 20, {}});
    device.mains(MainsState::Lost);
    device.run(29);
    EXPECT_EQ(device.mode(), Mode::OnBattery);
    device.run(2);
    EXPECT_EQ(device.mode(), Mode::Off);
    device.mains(MainsState::Normal);
    device.run(8);
    EXPECT_EQ(device.mode(), Mode::OnLineInteractiveNormal);
}

TEST(BatteryTest, WarmsUpWhileItGivesAndFollowsAnOrder) {
    ShippedDevice device{"ups-3ph"};
    const double before = device.number(BANK + "Measure.Temperature");
    device.mains(MainsState::Lost);
    device.run(600);
    EXPECT_GT(device.number(BANK + "Measure.Temperature"), before + 5);
    device.model.setBattery({{}, {}, {}, 45});
    EXPECT_FLOAT_EQ(device.number(BANK + "Measure.Temperature"), 45);
    EXPECT_TRUE(device.flag(BANK + "Status.TemperatureTooHigh"));
}

TEST(BatteryTest, FullDischargesAreCounted) {
    ShippedDevice device{"ups-1ph"};
    EXPECT_EQ(device.state(BANK + "Measure.CyclesCount"), 0U);
    device.mains(MainsState::Lost);
    for (int round = 0; round < 2; ++round) {
        device.charge(100);
        device.run(1200);
    }
    EXPECT_EQ(device.state(BANK + "Measure.CyclesCount"), 1U);
}

} // namespace velk::simulator
