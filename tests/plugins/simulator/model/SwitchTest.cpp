#include "plugins/simulator/model/Switch.h"

#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

namespace {

const std::string OUTLET = "Outlets.2.";

std::int32_t delay(const ShippedDevice& device, const std::string& path) {
    return device.model.read(path).get<std::int32_t>();
}

} // namespace

TEST(SwitchTest, DelayCountsDownAndThenItSwitches) {
    ShippedDevice device{"ups-3ph"};
    EXPECT_EQ(delay(device, OUTLET + "Status.DelayBeforeSwitchOff"), -1);
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOff", 10));
    EXPECT_EQ(delay(device, OUTLET + "Status.DelayBeforeSwitchOff"), 10);
    EXPECT_TRUE(device.flag(OUTLET + "Status.ShutdownPending"));
    device.run(4.5);
    EXPECT_EQ(delay(device, OUTLET + "Status.DelayBeforeSwitchOff"), 6);
    EXPECT_TRUE(device.flag(OUTLET + "Status.SwitchedOn"));
    device.run(6);
    EXPECT_FALSE(device.flag(OUTLET + "Status.SwitchedOn"));
    EXPECT_EQ(delay(device, OUTLET + "Status.DelayBeforeSwitchOff"), -1);
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOn", 5));
    EXPECT_TRUE(device.flag(OUTLET + "Status.StartupPending"));
    EXPECT_EQ(delay(device, OUTLET + "Status.DelayBeforeSwitchOn"), 5);
    device.run(5.2);
    EXPECT_TRUE(device.flag(OUTLET + "Status.SwitchedOn"));
    EXPECT_EQ(delay(device, OUTLET + "Status.DelayBeforeSwitchOn"), -1);
}

TEST(SwitchTest, RunningDelaysAreTakenBack) {
    ShippedDevice device{"ups-3ph"};
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOff", 3));
    ASSERT_TRUE(device.act(OUTLET + "Action.CancelSwitchOff"));
    device.run(5);
    EXPECT_TRUE(device.flag(OUTLET + "Status.SwitchedOn"));
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOffWithAutoRestart", 3));
    ASSERT_TRUE(device.act(OUTLET + "Action.CancelSwitchOff")) << "of another kind: nothing to take back";
    EXPECT_TRUE(device.flag(OUTLET + "Status.ShutdownPending"));
    ASSERT_TRUE(device.act(OUTLET + "Action.CancelSwitchOffWithAutoRestart"));
    device.run(5);
    EXPECT_TRUE(device.flag(OUTLET + "Status.SwitchedOn"));
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOff", 0));
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOn", 3));
    ASSERT_TRUE(device.act(OUTLET + "Action.CancelSwitchOn"));
    device.run(5);
    EXPECT_FALSE(device.flag(OUTLET + "Status.SwitchedOn"));
}

TEST(SwitchTest, RestartComesAfterTheRebootDuration) {
    ShippedDevice device{"pdu-42"};
    ASSERT_TRUE(device.set(OUTLET + "Setting.ForcedRebootDuration", Value{std::int32_t{4}}));
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOffWithAutoRestart", 0));
    device.run(3.8);
    EXPECT_FALSE(device.flag(OUTLET + "Status.SwitchedOn"));
    EXPECT_TRUE(device.flag(OUTLET + "Status.StartupPending"));
    device.run(0.4);
    EXPECT_TRUE(device.flag(OUTLET + "Status.SwitchedOn"));
}

TEST(SwitchTest, RestartWaitsForTheMains) {
    ShippedDevice device{"ups-3ph"};
    device.mains(MainsState::Lost);
    device.run(0.1);
    ASSERT_TRUE(device.act("Outputs.1.Action.SwitchOffWithAutoRestart", 5));
    EXPECT_TRUE(device.flag("Status.ShutdownPending"));
    EXPECT_TRUE(device.flag("Status.ShutdownImminent"));
    device.run(60);
    EXPECT_EQ(device.mode(), Mode::Off);
    device.mains(MainsState::Normal);
    device.run(12);
    EXPECT_EQ(device.mode(), Mode::Off);
    device.run(2);
    EXPECT_EQ(device.mode(), Mode::OnLine);
}

TEST(SwitchTest, OutletIsShedAfterItsDelayOnBatteryAndComesBack) {
    ShippedDevice device{"ups-1ph"};
    ASSERT_TRUE(device.set(OUTLET + "Setting.AutomaticSwitchOffDelay", Value{std::int32_t{20}}));
    ASSERT_TRUE(device.set(OUTLET + "Setting.AutomaticSwitchOnDelay", Value{std::int32_t{5}}));
    device.mains(MainsState::Lost);
    device.run(19);
    EXPECT_TRUE(device.flag(OUTLET + "Status.SwitchedOn"));
    device.run(2);
    EXPECT_FALSE(device.flag(OUTLET + "Status.SwitchedOn"));
    EXPECT_TRUE(device.flag("Outlets.1.Status.SwitchedOn"));
    device.mains(MainsState::Normal);
    device.run(7);
    EXPECT_FALSE(device.flag(OUTLET + "Status.SwitchedOn"));
    device.run(2);
    EXPECT_TRUE(device.flag(OUTLET + "Status.SwitchedOn"));
}

TEST(SwitchTest, SheddingIsTakenBackByTheMainsUnlessARebootIsForced) {
    ShippedDevice device{"ups-1ph"};
    ASSERT_TRUE(device.set("Outputs.1.Setting.AutomaticSwitchOffDelay", Value{std::int32_t{20}}));
    device.mains(MainsState::Lost);
    device.run(5);
    device.mains(MainsState::Normal);
    device.run(30);
    EXPECT_EQ(device.mode(), Mode::OnLineInteractiveNormal);
    ASSERT_TRUE(device.set("Outputs.1.Setting.ForcedRebootEnabled", Value{true}));
    device.mains(MainsState::Lost);
    device.run(5);
    device.mains(MainsState::Normal);
    device.run(16);
    EXPECT_EQ(device.mode(), Mode::Off);
    device.run(10);
    EXPECT_EQ(device.mode(), Mode::OnLineInteractiveNormal);
}

TEST(SwitchTest, CommandWithoutDelayTakesTheDevicesOwn) {
    ShippedDevice device{"ups-1ph"};
    ASSERT_TRUE(device.set(OUTLET + "Setting.AutomaticSwitchOffDelay", Value{std::int32_t{7}}));
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOff"));
    EXPECT_EQ(delay(device, OUTLET + "Status.DelayBeforeSwitchOff"), 7);
    ASSERT_TRUE(device.act(OUTLET + "Action.SwitchOff", 0));
    EXPECT_FALSE(device.flag(OUTLET + "Status.SwitchedOn"));
}

TEST(SwitchTest, LaterCommandTakesThePlaceOfAnEarlierOne) {
    Switch relay;
    relay.switchOff(10);
    relay.switchOn(20);
    EXPECT_FALSE(relay.isGoingOff());
    relay.switchOff(5);
    EXPECT_FALSE(relay.isGoingOn());
    EXPECT_EQ(relay.secondsToOff(), 5);
    relay.step(5, {false, true});
    EXPECT_FALSE(relay.isOn());
    relay.step(100, {false, true});
    EXPECT_FALSE(relay.isOn()) << "nothing asked for a restart";
}

TEST(SwitchTest, CountdownRoundsUpAndFiresOnce) {
    Countdown countdown;
    EXPECT_FALSE(countdown.step(1));
    countdown.start(1.2);
    EXPECT_EQ(countdown.remaining(), 2);
    EXPECT_FALSE(countdown.step(0.5));
    EXPECT_EQ(countdown.remaining(), 1);
    EXPECT_TRUE(countdown.step(0.7));
    EXPECT_FALSE(countdown.step(1));
    EXPECT_EQ(countdown.remaining(), -1);
}

} // namespace velk::simulator
