// Rows of the tables that recorded devices rarely have: each variable alone leads to its path.

#include "powerdistribution/core/Vocabulary.h"
#include "tests/plugins/nut/ServedDevice.h"

#include <gtest/gtest.h>

#include <string>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::ServedDevice;

struct MappingRow {
    const char* variable;
    const char* text;
    EPath path;
    Value expected;
};

Value quantity(float value) {
    return value;
}

void expectRows(const std::vector<MappingRow>& rows) {
    Variables variables{{"ups.status", "OL"}};
    for (const MappingRow& row : rows) {
        variables[row.variable] = row.text;
    }
    const ServedDevice whole{variables};
    for (const MappingRow& row : rows) {
        EXPECT_EQ(whole.read(row.path), row.expected) << row.variable;
        Variables others = variables;
        others.erase(row.variable);
        EXPECT_EQ(ServedDevice(others).read(row.path), Value{})
            << row.variable << " is not what it comes from";
    }
}

// clang-format off
TEST(MappingRowsTest, SettingsOfTheDevice) {
    expectRows({
        {"input.bypass.switchable", "disabled", {ESetting::BypassTransferEnabled}, false},
        {"input.eco.switchable", "enabled", {ESetting::HighEfficiencyEnabled}, true},
        {"input.transfer.bypass.forced", "enabled", {ESetting::ForcedTransferEnabled}, true},
        {"input.transfer.bypass.outlimits", "disabled", {ESetting::OutOfToleranceTransferEnabled}, false},
        {"input.transfer.frequency.bypass.range", "5", {ESetting::FrequencyDeviationLimit}, quantity(5)},
        {"input.transfer.hysteresis", "6", {ESpecification::VoltageHysteresisDetection}, quantity(6)},
    });
}

// The same with each answer turned, so that no two of them can stand for one another.
TEST(MappingRowsTest, SwitchesOfTheDeviceTurned) {
    expectRows({
        {"input.bypass.switchable", "enabled", {ESetting::BypassTransferEnabled}, true},
        {"input.eco.switchable", "enabled", {ESetting::HighEfficiencyEnabled}, true},
        {"input.transfer.bypass.forced", "disabled", {ESetting::ForcedTransferEnabled}, false},
        {"input.transfer.bypass.outlimits", "disabled", {ESetting::OutOfToleranceTransferEnabled}, false},
    });
}

TEST(MappingRowsTest, Battery) {
    const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
    expectRows({
        {"battery.packs.external", "3", bank + ESpecification::ExternalCount, std::uint32_t{3}},
        {"battery.voltage.cell.max", "2.31", bank + EMeasurement::MaxCellVoltage, quantity(2.31F)},
        {"battery.voltage.cell.min", "2.19", bank + EMeasurement::MinCellVoltage, quantity(2.19F)},
        {"battery.temperature.cell.max", "27", bank + EMeasurement::MaxCellTemperature, quantity(27)},
        {"battery.temperature.cell.min", "24", bank + EMeasurement::MinCellTemperature, quantity(24)},
        {"battery.date.maintenance", "2027/03/15", bank + EStatus::LcmReplacementDate, conv::UnixTime{1805068800U}},
    });
}

TEST(MappingRowsTest, InputsAndBranches) {
    const EPath input{ECircuit::Inputs, 1U};
    expectRows({
        {"input.frequency.low", "47", input + ESetting::FrequencyLowCriticalThreshold, quantity(47)},
        {"input.frequency.high", "53", input + ESetting::FrequencyHighCriticalThreshold, quantity(53)},
        {"input.N.current", "0.7", input + EMeasurement::NeutralCurrent, quantity(0.7F)},
        {"outlet.group.1.phase", "L2", {ECircuit::Branches, 1U, ESpecification::Feed}, std::string{"L2"}},
    });
}

TEST(MappingRowsTest, CurrentOfAPhaseIsTooHighOrCritical) {
    const EPath phase{ECircuit::Inputs, 1U, ECircuit::Phases, 1U};
    expectRows({{"input.L1.current.status", "warning-high", phase + EStatus::CurrentTooHigh, true}});
    expectRows({{"input.L1.current.status", "warning-high", phase + EStatus::OverCurrent, false}});
    expectRows({{"input.L1.current.status", "critical-high", phase + EStatus::CurrentTooHigh, false}});
    expectRows({{"input.L1.current.status", "critical-high", phase + EStatus::OverCurrent, true}});
}

TEST(MappingRowsTest, Converters) {
    const EPath inverter{ECircuit::PowerConverters, EPowerConverter::Inverter};
    const EPath bypass{ECircuit::PowerConverters, EPowerConverter::AutomaticBypass};
    const EPath regulator{ECircuit::PowerConverters, EPowerConverter::Avr};
    expectRows({
        {"output.inverter.voltage", "231", inverter + EMeasurement::Voltage, quantity(231)},
        {"output.bypass.voltage", "229", bypass + EMeasurement::Voltage, quantity(229)},
        {"input.transfer.boost.low", "184", regulator + ESetting::VoltageLowCriticalThreshold, quantity(184)},
        {"input.transfer.boost.high", "208", regulator + ESetting::VoltageLowWarningThreshold, quantity(208)},
        {"input.transfer.trim.low", "244", regulator + ESetting::VoltageHighWarningThreshold, quantity(244)},
        {"input.transfer.trim.high", "265", regulator + ESetting::VoltageHighCriticalThreshold, quantity(265)},
    });
}
// clang-format on

} // namespace
} // namespace velk::nut
