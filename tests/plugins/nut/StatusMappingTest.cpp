#include "powerdistribution/core/Vocabulary.h"
#include "tests/plugins/nut/ServedDevice.h"

#include <gtest/gtest.h>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::ServedDevice;

const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
const EPath output{ECircuit::Outputs, 1U};

Value number(std::uint32_t value) {
    return value;
}

Value modeOf(const std::string& status, Variables others = {}) {
    others["ups.status"] = status;
    return ServedDevice{others}.read({EStatus::Mode});
}

TEST(StatusMappingTest, ModeFollowsTheStrongestWord) {
    EXPECT_EQ(modeOf("OL"), number(10));
    EXPECT_EQ(modeOf("OL CHRG", {{"ups.type", "online"}}), number(2));
    EXPECT_EQ(modeOf("OB DISCHRG"), number(3));
    EXPECT_EQ(modeOf("OL TRIM"), number(4));
    EXPECT_EQ(modeOf("OL BOOST"), number(5));
    EXPECT_EQ(modeOf("OL HE"), number(8));
    EXPECT_EQ(modeOf("OL ECO"), number(8));
    EXPECT_EQ(modeOf("OL BYPASS"), number(13));
    EXPECT_EQ(modeOf("OL OFF"), number(1));
    EXPECT_EQ(modeOf("OL OB"), number(3));
    EXPECT_EQ(modeOf("OB OL DISCHRG"), number(3));
    EXPECT_EQ(modeOf("OB OFF BYPASS"), number(1));
    EXPECT_EQ(modeOf(""), Value{});
    EXPECT_EQ(modeOf("CAL"), Value{});
}

TEST(StatusMappingTest, TransferSwitchIsOnItsPreferredOrItsOtherSource) {
    EXPECT_EQ(
        modeOf("OL", {{"device.type", "ats"}, {"input.source", "2.00"}, {"input.source.preferred", "2.00"}}),
        number(15));
    EXPECT_EQ(modeOf("OL", {{"device.type", "ats"}, {"input.source", "2"}, {"input.source.preferred", "1"}}),
              number(16));
    EXPECT_EQ(modeOf("OL", {{"device.type", "ats"}, {"input.source", "2"}}), Value{});
}

TEST(StatusMappingTest, MainsAndBatteryTakeTurns) {
    const ServedDevice onMains{{{"ups.status", "OL CHRG"}, {"battery.charge", "50"}}};
    EXPECT_EQ(onMains.read({ECircuit::Inputs, 1U, EStatus::Supplied}), Value{true});
    EXPECT_EQ(onMains.read({ECircuit::Inputs, 1U, EStatus::InRange}), Value{true});
    EXPECT_EQ(onMains.read(output + EStatus::Supply), Value{true});
    EXPECT_EQ(onMains.read(bank + EStatus::Supply), Value{false});
    const ServedDevice onBattery{{{"ups.status", "OB DISCHRG"}, {"battery.charge", "50"}}};
    EXPECT_EQ(onBattery.read({ECircuit::Inputs, 1U, EStatus::Supplied}), Value{false});
    EXPECT_EQ(onBattery.read(output + EStatus::Supply), Value{true});
    EXPECT_EQ(onBattery.read(bank + EStatus::Supply), Value{true});
}

TEST(StatusMappingTest, SwitchedOffOutputSuppliesNothing) {
    const ServedDevice device{{{"ups.status", "OL OFF"}, {"outlet.1.status", "on"}}};
    EXPECT_EQ(device.read(output + EStatus::Supply), Value{false});
    EXPECT_EQ(device.read(output + EStatus::SwitchedOn), Value{false});
    EXPECT_EQ(device.read({ECircuit::Outlets, 1U, EStatus::Supply}), Value{false});
    EXPECT_EQ(device.read({ECircuit::Outlets, 1U, EStatus::SwitchedOn}), Value{true});
}

TEST(StatusMappingTest, WarningsAreFlags) {
    const ServedDevice device{{{"ups.status", "OB LB RB HB OVER FSD"}, {"battery.charge", "5"}}};
    EXPECT_EQ(device.read(bank + EStatus::LowStateOfCharge), Value{true});
    EXPECT_EQ(device.read(bank + EStatus::NeedService), Value{true});
    EXPECT_EQ(device.read(bank + EStatus::LcmExpired), Value{true});
    EXPECT_EQ(device.read(bank + EStatus::VoltageTooHigh), Value{true});
    EXPECT_EQ(device.read(output + EStatus::Overload), Value{true});
    EXPECT_EQ(device.read({EStatus::ShutdownImminent}), Value{true});
    const ServedDevice well{{{"ups.status", "OL"}, {"battery.charge", "5"}}};
    for (const EStatus status :
         {EStatus::LowStateOfCharge, EStatus::NeedService, EStatus::LcmExpired, EStatus::VoltageTooHigh}) {
        EXPECT_EQ(well.read(bank + status), Value{false});
    }
    EXPECT_EQ(well.read({EStatus::ShutdownImminent}), Value{false});
}

TEST(StatusMappingTest, ShutdownIsImminentOnlyWithALowBatteryInUse) {
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL LB"}}).read({EStatus::ShutdownImminent}),
              Value{false});
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OB LB"}}).read({EStatus::ShutdownImminent}),
              Value{true});
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL FSD"}}).read({EStatus::ShutdownImminent}),
              Value{true});
}

TEST(StatusMappingTest, InternalFailureNeedsTheWordsOfTheAlarm) {
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL ALARM"}, {"ups.alarm", "Replace battery!"}})
                  .read({EStatus::InternalFailure}),
              Value{false});
    EXPECT_EQ(
        ServedDevice(Variables{{"ups.status", "OL ALARM"}, {"ups.alarm", "Internal UPS fault"}, {"x", "y"}})
            .read({EStatus::InternalFailure}),
        Value{true});
}

TEST(StatusMappingTest, ChargerIsJudgedByItsOwnWordOrByTheStatus) {
    const EPath status = bank + ECircuit::Chargers + 1U + EStatus::ChargerStatus;
    const EPath supply = bank + ECircuit::Chargers + 1U + EStatus::Supply;
    const ServedDevice told{{{"ups.status", "OL CHRG"}, {"battery.charger.status", "resting"}}};
    EXPECT_EQ(told.read(status), number(3));
    EXPECT_EQ(told.read(supply), Value{false});
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL CHRG"}, {"battery.charge", "50"}}).read(status),
              number(1));
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OB DISCHRG"}, {"battery.charge", "50"}}).read(status),
              number(4));
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL"}, {"battery.charge", "100"}}).read(status),
              number(2));
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL"}, {"battery.charge", "99"}}).read(status),
              number(3));
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL"}, {"battery.charge", "100.5"}}).read(status),
              number(2));
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL"}, {"battery.charge", "99.9"}}).read(status),
              number(3));
    EXPECT_EQ(told.read(bank + ECircuit::Chargers + EAttribute::Count), number(1));
}

TEST(StatusMappingTest, TestRunsWhileTheStatusOrTheResultSaysSo) {
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL CAL"}}).read(bank + EStatus::TestStatus), number(1));
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL"}, {"ups.test.result", "In progress"}})
                  .read(bank + EStatus::TestStatus),
              number(1));
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL"}, {"ups.test.result", "Done and passed"}})
                  .read(bank + EStatus::TestStatus),
              number(0));
}

TEST(StatusMappingTest, BadPackNeedsService) {
    EXPECT_EQ(ServedDevice(Variables{{"ups.status", "OL"}, {"battery.packs.bad", "1"}})
                  .read(bank + EStatus::NeedService),
              Value{true});
}

TEST(StatusMappingTest, RegulatorAndBypassShowWhatTheyDo) {
    const ServedDevice device{{{"ups.status", "OL BOOST"}, {"input.transfer.boost.low", "190"}}};
    const EPath regulator{ECircuit::PowerConverters, EPowerConverter::Avr};
    EXPECT_EQ(device.read(regulator + EStatus::OnBoost), Value{true});
    EXPECT_EQ(device.read(regulator + EStatus::OnBuck), Value{false});
    EXPECT_EQ(device.read(regulator + EStatus::Supply), Value{true});
    const ServedDevice bypassed{{{"ups.status", "OL BYPASS"}}};
    EXPECT_EQ(bypassed.read({ECircuit::PowerConverters, EPowerConverter::AutomaticBypass, EStatus::Supply}),
              Value{true});
}

TEST(StatusMappingTest, SourceIsSuppliedAboveHalfOfItsVoltage) {
    const ServedDevice device{{{"device.type", "ats"},
                               {"input.count", "2"},
                               {"input.source", "1"},
                               {"input.1.voltage", "229"},
                               {"input.2.voltage", "12.4"},
                               {"input.voltage.nominal", "230"},
                               {"input.2.voltage.status", "critical-low"},
                               {"ups.status", "OL"}}};
    EXPECT_EQ(device.read({ECircuit::Inputs, 1U, EStatus::Supplied}), Value{true});
    EXPECT_EQ(device.read({ECircuit::Inputs, 2U, EStatus::Supplied}), Value{false});
    EXPECT_EQ(device.read({ECircuit::Inputs, 2U, EStatus::InRange}), Value{false});
    EXPECT_EQ(device.read({ECircuit::PowerConverters, EPowerConverter::TransferSwitch, EStatus::Source}),
              number(1));
}

TEST(StatusMappingTest, OutletsOfADistributionUnitSupplyWhileTheyAreOn) {
    const ServedDevice device{{{"device.type", "pdu"},
                               {"input.voltage", "230"},
                               {"outlet.1.status", "on"},
                               {"outlet.2.status", "OFF"},
                               {"outlet.3.current", "1"},
                               {"outlet.voltage", "230"},
                               {"ups.status", ""}}};
    EXPECT_EQ(device.read({ECircuit::Outlets, 1U, EStatus::Supply}), Value{true});
    EXPECT_EQ(device.read({ECircuit::Outlets, 2U, EStatus::Supply}), Value{false});
    EXPECT_EQ(device.read({ECircuit::Outlets, 3U, EStatus::Supply}), Value{true}) << "goes by the output";
    EXPECT_FALSE(device.serves({ECircuit::Outlets, 4U, EStatus::Supply}));
    EXPECT_EQ(device.read(output + EStatus::Overload), Value{}) << "no words, no judgement";
}

TEST(StatusMappingTest, SupplyIsServedWhereTheLibraryJudgesByIt) {
    const ServedDevice device{{{"battery.packs", "2"}, {"battery.charge", "1"}, {"ups.status", "OL"}}};
    for (const EPath& path : {EPath{ECircuit::Inputs, 1U, EStatus::Supplied}, output + EStatus::Supply,
                              bank + EStatus::Supply, bank + ECircuit::Chargers + 1U + EStatus::Supply,
                              bank + ECircuit::StorageModules + 2U + EStatus::Supply}) {
        EXPECT_TRUE(device.read(path).holds<bool>()) << path;
    }
    EXPECT_FALSE(device.serves(bank + ECircuit::StorageModules + 3U + EStatus::Supply));
}

} // namespace
} // namespace velk::nut
