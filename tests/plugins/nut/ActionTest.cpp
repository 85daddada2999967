#include "powerdistribution/core/Vocabulary.h"
#include "tests/plugins/nut/ServedDevice.h"

#include <gtest/gtest.h>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::ServedDevice;

const EPath switchOff{ECircuit::Outputs, 1U, EAction::SwitchOff};

/// The commands that the server got when `value` was written to `path`; "refused" for a write that gave
/// false.
std::string commandsFor(const std::vector<std::string>& offered, const EPath& path, const Value& value,
                        Variables variables = {}, const std::vector<std::string>& writable = {}) {
    variables["ups.status"] = "OL";
    const ServedDevice device{variables, writable, offered};
    const auto wrapper = device.wrapper(path);
    if (!wrapper) {
        return "not served";
    }
    const bool isTaken = wrapper->write(value);
    std::string commands;
    for (const std::string& request : device.requests()) {
        if (request.rfind("INSTCMD u1 ", 0) == 0) {
            commands += request.substr(11);
        } else if (request.rfind("SET VAR u1 ", 0) == 0) {
            commands += "set " + request.substr(11);
        }
    }
    return isTaken ? commands : "refused" + commands;
}

TEST(ActionTest, SwitchOffTakesADelay) {
    const std::vector<std::string> all{"load.off", "load.off.delay", "shutdown.stayoff"};
    EXPECT_EQ(commandsFor(all, switchOff, std::int32_t{0}), "load.off");
    EXPECT_EQ(commandsFor(all, switchOff, std::int32_t{30}), "load.off.delay \"30\"");
    EXPECT_EQ(commandsFor({"load.off", "shutdown.stayoff"}, switchOff, std::int32_t{30}), "shutdown.stayoff");
    EXPECT_EQ(commandsFor({"shutdown.stayoff"}, switchOff, std::int32_t{0}), "shutdown.stayoff");
    EXPECT_EQ(commandsFor({"load.off"}, switchOff, std::int32_t{30}), "refused");
    EXPECT_EQ(commandsFor(all, switchOff, std::int32_t{-1}), "refused");
    EXPECT_EQ(commandsFor({}, switchOff, std::int32_t{0}), "not served");
}

TEST(ActionTest, OnlyATrueValueStartsAnAction) {
    const EPath test{ECircuit::BackupSystem, ECircuit::PowerBank, EAction::StartTest};
    EXPECT_EQ(commandsFor({"test.battery.start.quick"}, test, true), "test.battery.start.quick");
    EXPECT_EQ(commandsFor({"test.battery.start.quick"}, test, false), "refused");
    EXPECT_EQ(commandsFor({"test.battery.start.quick"}, test, {}), "refused");
    EXPECT_EQ(commandsFor({"test.battery.start.quick"}, test, std::string{"now"}), "refused");
}

TEST(ActionTest, FirstCommandThatTheDeviceHasIsUsed) {
    const EPath test{ECircuit::BackupSystem, ECircuit::PowerBank, EAction::StartTest};
    EXPECT_EQ(commandsFor({"test.battery.start.deep", "test.battery.start"}, test, true),
              "test.battery.start");
    EXPECT_EQ(commandsFor({"test.battery.stop"}, test.parent() + EAction::AbortTest, true),
              "test.battery.stop");
    const EPath restart{ECircuit::Outputs, 1U, EAction::SwitchOffWithAutoRestart};
    EXPECT_EQ(commandsFor({"shutdown.return", "shutdown.reboot"}, restart, std::int32_t{0}),
              "shutdown.return");
    EXPECT_EQ(commandsFor({"shutdown.reboot.graceful"}, restart, std::int32_t{60}),
              "shutdown.reboot.graceful");
    EXPECT_EQ(commandsFor({"load.on"}, {ECircuit::Outputs, 1U, EAction::SwitchOn}, std::int32_t{0}),
              "load.on");
}

TEST(ActionTest, BothCancellationsStopAShutdown) {
    for (const EAction action : {EAction::CancelSwitchOff, EAction::CancelSwitchOffWithAutoRestart}) {
        EXPECT_EQ(commandsFor({"shutdown.stop"}, {ECircuit::Outputs, 1U, action}, true), "shutdown.stop");
    }
}

TEST(ActionTest, OutletsAndGroupsSwitchByTheirNumber) {
    EXPECT_EQ(
        commandsFor({"outlet.2.load.off"}, {ECircuit::Outlets, 2U, EAction::SwitchOff}, std::int32_t{0}),
        "outlet.2.load.off");
    EXPECT_EQ(
        commandsFor({"outlet.2.load.off"}, {ECircuit::Outlets, 1U, EAction::SwitchOff}, std::int32_t{0}),
        "not served");
    EXPECT_EQ(commandsFor({"outlet.2.load.cycle"}, {ECircuit::Outlets, 2U, EAction::SwitchOffWithAutoRestart},
                          std::int32_t{0}),
              "outlet.2.load.cycle");
    EXPECT_EQ(
        commandsFor({"outlet.group.1.load.on"}, {ECircuit::Branches, 1U, EAction::SwitchOn}, std::int32_t{0}),
        "outlet.group.1.load.on");
}

TEST(ActionTest, OutletWithASwitchVariableIsSet) {
    const EPath off{ECircuit::Outlets, 1U, EAction::SwitchOff};
    EXPECT_EQ(commandsFor({}, off, std::int32_t{0}, {{"outlet.1.switch", "on"}}, {"outlet.1.switch"}),
              "set outlet.1.switch \"off\"");
    EXPECT_EQ(commandsFor({}, off, std::int32_t{0}, {{"outlet.1.switch", "1"}}, {"outlet.1.switch"}),
              "set outlet.1.switch \"0\"");
    EXPECT_EQ(commandsFor({}, off, std::int32_t{0}, {{"outlet.1.switch", "on"}}), "not served");
}

TEST(ActionTest, BypassIsSwitched) {
    const EPath bypass{ECircuit::PowerConverters, EPowerConverter::AutomaticBypass};
    EXPECT_EQ(commandsFor({"bypass.start", "bypass.stop"}, bypass + EAction::SwitchOn, std::int32_t{0}),
              "bypass.start");
    EXPECT_EQ(commandsFor({"bypass.start", "bypass.stop"}, bypass + EAction::SwitchOff, std::int32_t{0}),
              "bypass.stop");
}

TEST(ActionTest, ActionIsNotReadable) {
    const ServedDevice device{{{"ups.status", "OL"}}, {}, {"load.off"}};
    const auto wrapper = device.wrapper(switchOff);
    EXPECT_FALSE(wrapper->isReadable());
    EXPECT_TRUE(wrapper->isWritable());
    EXPECT_EQ(wrapper->read(), Value{});
}

} // namespace
} // namespace velk::nut
