#include "powerdistribution/core/Vocabulary.h"
#include "testing/TemporaryDirectory.h"
#include "tests/plugins/nut/ServedDevice.h"

#include <gtest/gtest.h>

#include <fstream>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::ServedDevice;

constexpr auto Id = EProperty::Identification;

Value text(const char* words) {
    return std::string{words};
}
Value number(std::uint32_t value) {
    return value;
}
Value quantity(float value) {
    return value;
}

TEST(MappingTest, DeviceNamesWinOverThoseOfTheUps) {
    const ServedDevice device{{{"device.mfr", "Northfield"},
                               {"ups.mfr", "Other"},
                               {"ups.model", "Harbour  1500"},
                               {"ups.serial", "0042"},
                               {"ups.firmware", "2.07=1"},
                               {"ups.status", "OL"}}};
    EXPECT_EQ(device.read({Id, EAttribute::Manufacturer}), text("Northfield"));
    EXPECT_EQ(device.read({Id, EAttribute::ProductName}), text("Harbour 1500"));
    EXPECT_EQ(device.read({Id, EAttribute::Model}), text("Harbour 1500"));
    EXPECT_EQ(device.read({Id, EAttribute::SerialNumber}), text("0042"));
    EXPECT_EQ(device.read({Id, EAttribute::FirmwareVersion}), text("2.07=1"));
}

TEST(MappingTest, VariableThatMeansNothingLeavesThePlaceToTheNext) {
    const ServedDevice device{{{"device.serial", "0000"}, {"ups.serial", "0042"}, {"ups.status", "OL"}}};
    EXPECT_EQ(device.read({Id, EAttribute::SerialNumber}), text("0042"));
}

TEST(MappingTest, IdentityByAddressIsTheLastResort) {
    const ServedDevice anonymous{{{"device.mfr", "Northfield"}, {"device.model", "x"}, {"ups.status", "OL"}}};
    const auto uuid = anonymous.read({Id, EAttribute::Uuid});
    ASSERT_TRUE(uuid.holds<std::string>());
    EXPECT_FALSE(velk::common::Uuid{uuid.get<std::string>()}.isNil());
    EXPECT_EQ(anonymous.read({Id, EAttribute::Uuid}), uuid);

    const ServedDevice known{
        {{"device.mfr", "Northfield"}, {"device.model", "x"}, {"device.serial", "7"}, {"ups.status", "OL"}}};
    EXPECT_FALSE(known.serves({Id, EAttribute::Uuid}));
}

TEST(MappingTest, DateAndTimeAreJoined) {
    const ServedDevice device{{{"ups.date", "2024-02-29"}, {"ups.time", "12:34:56"}}};
    const auto date = device.read({Id, EAttribute::CurrentDate});
    ASSERT_TRUE(date.holds<conv::UnixTime>());
    EXPECT_EQ(date.get<conv::UnixTime>().toIso8601(), "2024-02-29T12:34:56.000Z");
}

TEST(MappingTest, WhatTheDeviceDoesNotHaveIsNotServed) {
    const ServedDevice device{{{"ups.status", "OL"}}};
    for (const EPath& path :
         {EPath{ECircuit::Inputs, 1U, EMeasurement::Voltage}, EPath{ECircuit::Outlets, EAttribute::Count},
          EPath{ECircuit::PowerConverters}, EPath{ECircuit::PowerModules}, EPath{ECircuit::Environment},
          EPath{ESetting::AudibleAlarmControl}, EPath{ECircuit::Outputs, 1U, EAction::SwitchOff},
          EPath{EStatus::OperatingStatus}, EPath{EStatus::HealthState}, EPath{}}) {
        EXPECT_FALSE(device.serves(path)) << path;
    }
}

TEST(MappingTest, PathWithARangeHasNoVariable) {
    const ServedDevice device{{{"outlet.1.current", "1"}, {"outlet.2.current", "2"}}};
    EXPECT_EQ(device.read({ECircuit::Outlets, 2U, EMeasurement::Current}), quantity(2));
    EXPECT_FALSE(device.serves({ECircuit::Outlets, velk::common::TAny{}, EMeasurement::Current}));
    EXPECT_FALSE(
        device.serves({ECircuit::Outlets, velk::common::TRange<unsigned int>{1, 2}, EMeasurement::Current}));
}

TEST(MappingTest, CircuitsAreCounted) {
    const ServedDevice device{{{"input.voltage", "230"},
                               {"input.bypass.voltage", "229"},
                               {"outlet.count", "24.00"},
                               {"outlet.group.2.name", "B"},
                               {"ups.status", "OL"}}};
    EXPECT_EQ(device.read({ECircuit::Inputs, EAttribute::Count}), number(2));
    EXPECT_EQ(device.read({ECircuit::Outputs, EAttribute::Count}), number(1));
    EXPECT_EQ(device.read({ECircuit::Outlets, EAttribute::Count}), number(24));
    EXPECT_EQ(device.read({ECircuit::Branches, EAttribute::Count}), number(2));
    EXPECT_EQ(device.read({ECircuit::Inputs, 2U, EMeasurement::Voltage}), quantity(229));
}

TEST(MappingTest, OutletsWithoutACountGoByTheirHighestNumber) {
    const ServedDevice some{{{"outlet.1.status", "on"}, {"outlet.12.status", "on"}, {"outlet.id", "0"}}};
    EXPECT_EQ(some.read({ECircuit::Outlets, EAttribute::Count}), number(12));
    const ServedDevice none{{{"outlet.id", "0"}, {"outlet.desc", "Main"}, {"outlet.999999999.status", "on"}}};
    EXPECT_FALSE(none.serves({ECircuit::Outlets, EAttribute::Count}));
}

TEST(MappingTest, PhasesHaveVoltagesAgainstNeutralAndEachOther) {
    const ServedDevice device{{{"input.phases", "3.00"},
                               {"input.L2-N.voltage", "231"},
                               {"input.L3-L1.voltage", "401"},
                               {"input.L3.current", "24.5"},
                               {"output.L1.power.percent", "26"},
                               {"ups.L2.load", "27"}}};
    const EPath phases{ECircuit::Inputs, 1U, ECircuit::Phases};
    EXPECT_EQ(device.read(phases + EAttribute::Count), number(3));
    EXPECT_EQ(device.read(phases + 2U + EMeasurement::Voltage), quantity(231));
    EXPECT_EQ(device.read(phases + 3U + EMeasurement::VoltageLL), quantity(401));
    EXPECT_EQ(device.read(phases + 3U + EMeasurement::Current), quantity(24.5F));
    const EPath outputs{ECircuit::Outputs, 1U, ECircuit::Phases};
    EXPECT_EQ(device.read(outputs + EAttribute::Count), number(1)) << "the highest phase of the output's own";
    EXPECT_EQ(device.read(outputs + 1U + EMeasurement::PercentLoad), quantity(26));
    EXPECT_EQ(device.read(outputs + 2U + EMeasurement::PercentLoad), quantity(27));
}

TEST(MappingTest, PhasesWithoutDataOfTheirOwnAreNotCounted) {
    const ServedDevice device{{{"input.phases", "1"},
                               {"input.voltage", "231"},
                               {"output.phases", "2"},
                               {"output.L1.current", "4"},
                               {"output.L2.current", "5"},
                               {"output.L3.current", "6"}}};
    EXPECT_FALSE(device.serves({ECircuit::Inputs, 1U, ECircuit::Phases, EAttribute::Count}));
    EXPECT_EQ(device.read({ECircuit::Outputs, 1U, ECircuit::Phases, EAttribute::Count}), number(2));
}

TEST(MappingTest, SumOfTheOutletsIsTheOutputOfADistributionUnit) {
    const ServedDevice device{{{"device.type", "pdu"}, {"outlet.current", "7.35"}, {"ups.status", ""}}};
    EXPECT_EQ(device.read({ECircuit::Outputs, EAttribute::Count}), number(1));
    EXPECT_EQ(device.read({ECircuit::Outputs, 1U, EMeasurement::Current}), quantity(7.35F));
    const ServedDevice bare{{{"device.type", "pdu"}, {"outlet.1.current", "1"}}};
    EXPECT_FALSE(bare.serves({ECircuit::Outputs, EAttribute::Count}));
    EXPECT_FALSE(bare.serves({ECircuit::Outputs, 1U, EStatus::Supply}));
}

TEST(MappingTest, BatteryIsAPowerBank) {
    const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
    const ServedDevice device{{{"battery.charge", "96"},
                               {"battery.runtime", "65535"},
                               {"battery.temperature", "-272"},
                               {"battery.voltage", "054.5"},
                               {"battery.date", "not set"},
                               {"battery.mfr.date", "2022/06/01"}, // not looked at beside the other
                               {"battery.packs", "001"},
                               {"ups.status", "OL"}}};
    EXPECT_EQ(device.read(bank + EMeasurement::StateOfCharge), quantity(96));
    EXPECT_EQ(device.read(bank + EMeasurement::RemainingTime), Value{});
    EXPECT_EQ(device.read(bank + EMeasurement::Temperature), Value{});
    EXPECT_EQ(device.read(bank + EMeasurement::Voltage), quantity(54.5F));
    EXPECT_EQ(device.read(bank + EStatus::LcmInstallationDate), Value{});
    EXPECT_EQ(device.read(bank + ECircuit::StorageModules + EAttribute::Count), number(1));
    EXPECT_EQ(device.read(bank + EStatus::StoragePresent), number(1));
    EXPECT_EQ(device.read(bank + EStatus::BmsFailure), number(0));
    EXPECT_EQ(device.read(bank + ECommunicationStatus::State), number(2));
}

TEST(MappingTest, BatteryIsAsOldAsItsMakeWhereItsInstallationIsNotTold) {
    const ServedDevice device{{{"battery.mfr.date", "2022/06/01"}, {"ups.status", "OL"}}};
    const auto date =
        device.read({ECircuit::BackupSystem, ECircuit::PowerBank, EStatus::LcmInstallationDate});
    ASSERT_TRUE(date.holds<conv::UnixTime>());
    EXPECT_EQ(date.get<conv::UnixTime>().toIso8601(), "2022-06-01T00:00:00.000Z");
}

TEST(MappingTest, OnlyTheApproximateChargeIsABound) {
    const EPath charge{ECircuit::BackupSystem, ECircuit::PowerBank, EMeasurement::StateOfCharge};
    EXPECT_EQ(ServedDevice(Variables{{"battery.charge.approx", "<85"}}).read(charge), quantity(85));
    EXPECT_EQ(ServedDevice(Variables{{"battery.charge", "<85"}}).read(charge), Value{});
    EXPECT_EQ(
        ServedDevice(Variables{{"battery.charge", "90"}, {"battery.charge.approx", "<85"}}).read(charge),
        quantity(90));
}

TEST(MappingTest, FirstTimerThatRunsIsTheDelayBeforeSwitchOn) {
    const EPath delay{ECircuit::Outputs, 1U, EStatus::DelayBeforeSwitchOn};
    const auto delayOf = [&](const char* start, const char* restart, const char* reboot) {
        return ServedDevice(Variables{{"ups.timer.start", start},
                                      {"ups.timer.restart", restart},
                                      {"ups.timer.reboot", reboot},
                                      {"ups.status", "OL"}})
            .read(delay);
    };
    EXPECT_EQ(delayOf("0", "20", "30"), Value{std::int32_t{0}});
    EXPECT_EQ(delayOf("-1", "20", "30"), Value{std::int32_t{20}});
    EXPECT_EQ(delayOf("-60", "65535", "30"), Value{std::int32_t{30}});
    EXPECT_EQ(delayOf("-1", "65535", "2147483647"), Value{std::int32_t{-1}});
    EXPECT_EQ(delayOf("-1", "soon", ""), Value{std::int32_t{-1}});
}

TEST(MappingTest, DeviceWithoutBatterySaysThatItHasNoStorage) {
    const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
    const ServedDevice device{{{"device.type", "ats"}, {"input.source", "1"}, {"ups.status", "OL"}}};
    EXPECT_EQ(device.read(bank + EStatus::StoragePresent), number(3));
    EXPECT_FALSE(device.serves(bank + EStatus::Supply));
    EXPECT_FALSE(device.serves(bank + ECircuit::Chargers + EAttribute::Count));
    EXPECT_FALSE(device.serves(bank + ECommunicationStatus::State));
}

TEST(MappingTest, NodesWithoutValueStandWhereTheirDataAre) {
    const ServedDevice device{{{"ups.temperature", "31"},
                               {"ambient.temperature", "22"},
                               {"input.transfer.boost.low", "190"},
                               {"input.bypass.voltage", "230"},
                               {"ups.status", "OL"}}};
    for (const EPath& path :
         {EPath{ECircuit::PowerModules}, EPath{ECircuit::Environment}, EPath{ECircuit::PowerConverters},
          EPath{ECircuit::PowerConverters, EPowerConverter::Avr},
          EPath{ECircuit::PowerConverters, EPowerConverter::AutomaticBypass}}) {
        const auto wrapper = device.wrapper(path);
        ASSERT_NE(wrapper, nullptr) << path;
        EXPECT_FALSE(wrapper->isReadable());
    }
    EXPECT_FALSE(device.serves({ECircuit::PowerConverters, EPowerConverter::Inverter}));
    EXPECT_EQ(device.read({ECircuit::PowerModules, EMeasurement::Temperature}), quantity(31));
}

TEST(MappingTest, AllIsEmptyWhileLostExceptWhatTheDeviceIs) {
    ServedDevice device{{{"device.mfr", "Northfield"},
                         {"outlet.count", "2"},
                         {"ups.load", "34"},
                         {"ups.status", "OL"},
                         {"ups.delay.start", "30"}}};
    const auto load = device.wrapper({ECircuit::Outputs, 1U, EMeasurement::PercentLoad});
    const auto mode = device.wrapper({EStatus::Mode});
    const auto delay = device.wrapper({ECircuit::Outputs, 1U, ESetting::AutomaticSwitchOnDelay});
    const auto maker = device.wrapper({Id, EAttribute::Manufacturer});
    const auto state = device.wrapper({ECommunicationStatus::State});
    EXPECT_EQ(load->read(), quantity(34));
    EXPECT_EQ(delay->read(), Value{std::int32_t{30}});
    EXPECT_EQ(state->read(), number(2));

    device.failWith("ERR DATA-STALE\n");
    device.poll();
    EXPECT_EQ(state->read(), number(3));
    EXPECT_EQ(load->read(), Value{});
    EXPECT_EQ(mode->read(), Value{});
    EXPECT_EQ(delay->read(), Value{});
    EXPECT_EQ(maker->read(), text("Northfield"));
    // A tree that is built just now is whole.
    EXPECT_EQ(device.read({ECircuit::Outlets, EAttribute::Count}), number(2));
    EXPECT_TRUE(device.serves({ECircuit::Outputs, 1U, EMeasurement::PercentLoad}));

    device.failWith("");
    device.poll();
    device.poll();
    EXPECT_EQ(state->read(), number(2));
    EXPECT_EQ(load->read(), quantity(34));
}

TEST(MappingTest, AlarmFileIsOfferedOnlyWhenItIsGood) {
    const velk::testing::TemporaryDirectory folder;
    const std::string path = (folder / "alarms.json").string();
    std::ofstream{path} << R"({"alarms": {}})";
    EXPECT_EQ(
        ServedDevice(Variables{{"ups.status", "OL"}}, {}, {}, path).read({EPrivate::AlarmConfigurationFile}),
        Value{path});
    std::ofstream{path} << R"({"alarms": )";
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(ServedDevice(Variables{{"ups.status", "OL"}}, {}, {}, path)
                     .serves({EPrivate::AlarmConfigurationFile}));
    const std::string told = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(told.rfind("nut: no alarms: " + path + ":1:", 0), 0U) << told;
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
}

TEST(MappingTest, ThresholdOfAnAlarmIsServedOnlyWhenItReadsAsANumber) {
    const velk::testing::TemporaryDirectory folder;
    const std::string path = (folder / "alarms.json").string();
    std::ofstream{path} << R"({"alarms": {"BackupSystem.PowerBank.Measure.StateOfCharge": {"triggers": [
        {"type": "lower", "reference": "Setting.LowStateOfChargeThreshold", "message": "Battery low"}]}}})";
    const EPath threshold{ECircuit::BackupSystem, ECircuit::PowerBank, ESetting::LowStateOfChargeThreshold};

    ServedDevice good(Variables{{"battery.charge.low", "20"}, {"ups.status", "OL"}}, {}, {}, path);
    const auto wrapper = good.wrapper(threshold);
    ASSERT_NE(wrapper, nullptr);
    good.failWith("ERR DATA-STALE\n");
    good.poll();
    EXPECT_EQ(wrapper->read(), quantity(20)) << "the library takes an empty threshold for a failure";

    const ServedDevice odd(Variables{{"battery.charge.low", "unset"}, {"ups.status", "OL"}}, {}, {}, path);
    EXPECT_FALSE(odd.serves(threshold));
    const ServedDevice unused(Variables{{"battery.charge.low", "unset"}, {"ups.status", "OL"}});
    EXPECT_TRUE(unused.serves(threshold));
}

} // namespace
} // namespace velk::nut
