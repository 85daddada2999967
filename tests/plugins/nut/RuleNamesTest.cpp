// What the plug-in says of where it takes a value from.

#include "powerdistribution/core/Vocabulary.h"
#include "tests/plugins/nut/ServedDevice.h"

#include <gtest/gtest.h>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::ServedDevice;

TEST(NutRuleNamesTest, RulesAreNamedWithTheVariablesAndCommandsBehindThem) {
    const ServedDevice device{{{"ups.status", "OL"},
                               {"device.model", "Harbour"},
                               {"ups.model", "Harbour"},
                               {"input.voltage", "230.1"},
                               {"outlet.1.id", "1"},
                               {"outlet.1.delay.start", "3"},
                               {"input.transfer.low", "184"}},
                              {"outlet.1.delay.start"},
                              {"test.battery.start.quick"}};
    const auto rule = [&device](const EPath& path) { return device.factory->ruleOf(path); };
    EXPECT_EQ(rule({ECircuit::Inputs, 1U, EMeasurement::Voltage}),
              "Inputs.1.Measure.Voltage from input.voltage");
    EXPECT_EQ(rule({EProperty::Identification, EAttribute::Model}),
              "Identification.Attribute.Model from device.model or ups.model");
    EXPECT_EQ(rule({ECircuit::Outlets, 1U, ESetting::AutomaticSwitchOnDelay}),
              "Outlets.[1..1024].Setting.AutomaticSwitchOnDelay from outlet.1.delay.start");
    EXPECT_EQ(rule({EStatus::Mode}), "Status.Mode from several variables");
    EXPECT_EQ(rule({ECircuit::BackupSystem, ECircuit::PowerBank, EAction::StartTest}),
              "BackupSystem.PowerBank.Action.StartTest from test.battery.start.quick");
}

TEST(NutRuleNamesTest, PathThatTheDeviceHasNotHasNoRule) {
    const ServedDevice device{{{"ups.status", "OL"}}};
    EXPECT_EQ(device.factory->ruleOf({ECircuit::Inputs, 1U, EMeasurement::Voltage}), "");
    EXPECT_EQ(device.factory->ruleOf({}), "");
}

} // namespace
} // namespace velk::nut
