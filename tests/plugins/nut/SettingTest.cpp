#include "powerdistribution/core/Vocabulary.h"
#include "tests/plugins/nut/ServedDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::ServedDevice;
using namespace std::chrono_literals;

const EPath offDelay{ECircuit::Outputs, 1U, ESetting::AutomaticSwitchOffDelay};

std::size_t countOf(const ServedDevice& device, const std::string& request) {
    const auto requests = device.requests();
    return static_cast<std::size_t>(std::count(requests.begin(), requests.end(), request));
}

TEST(SettingTest, WhatTheServerLetsBeSetIsWritable) {
    const ServedDevice device{{{"ups.delay.shutdown", "20"}, {"ups.delay.start", "30"}, {"ups.status", "OL"}},
                              {"ups.delay.shutdown"}};
    EXPECT_TRUE(device.wrapper(offDelay)->isWritable());
    const auto fixed = device.wrapper({ECircuit::Outputs, 1U, ESetting::AutomaticSwitchOnDelay});
    EXPECT_FALSE(fixed->isWritable());
    EXPECT_TRUE(fixed->isReadable());
    EXPECT_FALSE(fixed->write(std::int32_t{5}));
}

TEST(SettingTest, NewValueIsReadAtOnceAfterAWrite) {
    const ServedDevice device{{{"ups.delay.shutdown", "20"}, {"ups.status", "OL"}}, {"ups.delay.shutdown"}};
    const auto wrapper = device.wrapper(offDelay);
    EXPECT_TRUE(wrapper->write(std::int32_t{120}));
    EXPECT_EQ(wrapper->read(), Value{std::int32_t{120}}) << "without another list";
    EXPECT_EQ(countOf(device, "SET VAR u1 ups.delay.shutdown \"120\""), 1U);
}

TEST(SettingTest, DeviceThatChangedByItselfHasNotTakenTheWrite) {
    ServedDevice device{{{"ups.delay.shutdown", "20"}, {"ups.status", "OL"}}, {"ups.delay.shutdown"}};
    const auto wrapper = device.wrapper(offDelay);
    device.set("ups.delay.shutdown", "25"); // since the last list
    device.ignoreChanges();
    std::thread time{[&] {
        device.clock.awaitBlocked(2); // the poller and the write, which looks whether the device has it
        device.clock.advance(4990ms);
    }};
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(wrapper->write(std::int32_t{120}));
    const std::string told = ::testing::internal::GetCapturedStderr();
    time.join();
    EXPECT_NE(told.find("the device kept ups.delay.shutdown at \"25\""), std::string::npos) << told;
}

TEST(SettingTest, ValueThatCannotBeIsRefusedUnsent) {
    const ServedDevice device{{{"input.transfer.low", "184"},
                               {"input.transfer.low.min", "160"},
                               {"input.transfer.low.max", "200"},
                               {"ups.status", "OL"}},
                              {"input.transfer.low"}};
    const auto wrapper = device.wrapper({ECircuit::Inputs, 1U, ESetting::VoltageLowCriticalThreshold});
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(wrapper->write(210.0F));
    EXPECT_FALSE(wrapper->write(std::string{"high"}));
    EXPECT_FALSE(wrapper->write({}));
    const std::string told = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("input.transfer.low was not set: 210 is not from 160 to 200\n"), std::string::npos)
        << told;
    EXPECT_EQ(wrapper->read(), Value{184.0F});
    for (const std::string& request : device.requests()) {
        EXPECT_EQ(request.find("SET VAR"), std::string::npos);
    }
}

TEST(SettingTest, TransferLimitIsASpecificationWhereItCannotBeSet) {
    const EPath asSetting{ECircuit::Inputs, 1U, ESetting::VoltageLowCriticalThreshold};
    const EPath asSpecification{ECircuit::Inputs, 1U, ESpecification::VoltageLowCriticalThreshold};
    const ServedDevice fixed{{{"input.transfer.low", "184"}, {"ups.status", "OL"}}};
    EXPECT_FALSE(fixed.serves(asSetting));
    EXPECT_EQ(fixed.read(asSpecification), Value{184.0F});
    const ServedDevice open{{{"input.transfer.low", "184"}, {"ups.status", "OL"}}, {"input.transfer.low"}};
    EXPECT_EQ(open.read(asSetting), Value{184.0F});
    EXPECT_FALSE(open.serves(asSpecification));
}

TEST(SettingTest, NominalVoltageIsASettingWhereItCanBeSet) {
    const EPath nominal{ECircuit::Outputs, 1U, ESetting::NominalVoltage};
    EXPECT_FALSE(
        ServedDevice(Variables{{"output.voltage.nominal", "230"}, {"ups.status", "OL"}}).serves(nominal));
    EXPECT_EQ(ServedDevice(Variables{{"output.voltage.nominal", "230"}, {"ups.status", "OL"}},
                           {"output.voltage.nominal"})
                  .read(nominal),
              Value{230.0F});
}

TEST(SettingTest, BeeperIsSetByItsCommands) {
    const ServedDevice device{
        {{"ups.beeper.status", "enabled"}, {"ups.status", "OL"}}, {}, {"beeper.enable", "beeper.mute"}};
    const auto wrapper = device.wrapper({ESetting::AudibleAlarmControl});
    EXPECT_TRUE(wrapper->isWritable());
    EXPECT_EQ(wrapper->read(), Value{std::uint32_t{2}});
    EXPECT_TRUE(wrapper->write(std::uint32_t{2}));
    EXPECT_EQ(countOf(device, "INSTCMD u1 beeper.enable"), 1U);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(wrapper->write(std::uint32_t{1})) << "no such command, and the variable cannot be set";
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("the device does not let it be set"),
              std::string::npos);
}

TEST(SettingTest, LostDeviceTakesNothing) {
    ServedDevice device{{{"ups.delay.shutdown", "20"}, {"ups.status", "OL"}}, {"ups.delay.shutdown"}};
    const auto wrapper = device.wrapper(offDelay);
    device.failWith("ERR DRIVER-NOT-CONNECTED\n");
    device.poll();
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(wrapper->write(std::int32_t{30}));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("the device cannot be reached"),
              std::string::npos);
}

TEST(SettingTest, WrappersOutliveTheProtocol) {
    auto device =
        std::make_unique<ServedDevice>(Variables{{"ups.delay.shutdown", "20"}, {"ups.status", "OL"}},
                                       std::vector<std::string>{"ups.delay.shutdown"});
    const auto wrapper = device->wrapper(offDelay);
    device->protocol->disconnect();
    device->protocol->stop();
    EXPECT_EQ(wrapper->read(), Value{});
    EXPECT_FALSE(wrapper->write(std::int32_t{30}));
}

} // namespace
} // namespace velk::nut
