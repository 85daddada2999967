#pragma once

#include "tests/cli/MemoryDevice.h"

#include <string>

namespace velk::cli::test {

// The four kinds of devices, small, in good order.

inline qz::CValue volts(float value) {
    return qz::CValue{value};
}

inline void threePhases(MemoryDevice& device, const std::string& part, float voltage) {
    for (const char* phase : {"1", "2", "3"}) {
        device.set(part + ".Phases." + phase + ".Measure.Voltage", volts(voltage));
    }
}

inline void goodInput(MemoryDevice& device, const std::string& part, const std::string& name, bool used) {
    device.setAll({{part + ".Attribute.FriendlyName", qz::CValue{name}},
                   {part + ".Measure.Voltage", volts(230.0F)},
                   {part + ".Measure.Frequency", qz::CValue{50.0F}},
                   {part + ".Measure.ActivePower", qz::CValue{used ? 18277.6F : 0.0F}},
                   {part + ".Status.InRange", qz::CValue{true}},
                   {part + ".Status.VoltageTooLow", qz::CValue{false}},
                   {part + ".Status.Used", qz::CValue{used}}});
}

/// A small UPS with a voltage regulator and three outlets.
inline void fillSinglePhaseUps(MemoryDevice& device) {
    device.text(tessapi::DeviceAttribute::productName, "Line 1500");
    device.text(tessapi::DeviceAttribute::serialNumber, "L-1");
    device.text(tessapi::DeviceAttribute::firmwareVersion, "1.3.0");
    device.setAll({{"Status.Mode", qz::CValue{10U}},
                   {"Status.HealthState", qz::CValue{5U}},
                   {"Status.OperatingStatus", qz::CValue{16U}}});
    device.setAll({{"Inputs.1.Measure.Voltage", volts(229.4F)},
                   {"Inputs.1.Measure.Frequency", qz::CValue{49.98F}},
                   {"Inputs.1.Status.InRange", qz::CValue{true}}});
    device.setAll({{"PowerConverters.Inverter.Status.OperatingStatus", qz::CValue{5U}},
                   {"PowerConverters.Avr.Status.OperatingStatus", qz::CValue{16U}},
                   {"PowerConverters.Avr.Status.OnBoost", qz::CValue{true}}});
    device.setAll({{"BackupSystem.PowerBank.Measure.StateOfCharge", qz::CValue{100.0F}},
                   {"BackupSystem.PowerBank.Measure.RemainingTime", qz::CValue{1410U}},
                   {"BackupSystem.PowerBank.Status.StoragePresent", qz::CValue{1U}},
                   {"BackupSystem.PowerBank.Status.Supply", qz::CValue{false}},
                   {"BackupSystem.PowerBank.Status.ChargerStatus", qz::CValue{2U}},
                   {"BackupSystem.PowerBank.Status.LastTestResult", qz::CValue{1U}},
                   {"BackupSystem.PowerBank.Status.LastTestResultDate",
                    qz::CValue{qz::CTimestamp{1'699'000'000, ""}}}});
    device.setAll({{"Outputs.1.Measure.Voltage", volts(230.0F)},
                   {"Outputs.1.Measure.ActivePower", qz::CValue{495.0F}},
                   {"Outputs.1.Measure.PercentLoad", qz::CValue{34.736843F}}});
    for (const char* outlet : {"1", "2", "3"}) {
        device.set(std::string{"Outlets."} + outlet + ".Status.SwitchedOn", qz::CValue{*outlet != '2'});
    }
}

/// A modular UPS with two feeds, modules, a bypass and a battery of strings.
inline void fillThreePhaseUps(MemoryDevice& device) {
    device.text(tessapi::DeviceAttribute::productName, "Modular 40");
    device.text(tessapi::DeviceAttribute::model, "MOD-40-4");
    device.text(tessapi::DeviceAttribute::vendor, "Example Power");
    device.text(tessapi::DeviceAttribute::friendlyName, "UPS of hall 1");
    device.text(tessapi::DeviceAttribute::location, "Hall 1, row A");
    device.text(tessapi::DeviceAttribute::serialNumber, "M-1");
    device.setAll({{"Status.Mode", qz::CValue{2U}}, {"Status.HealthState", qz::CValue{5U}}});
    goodInput(device, "Inputs.1", "Mains", true);
    goodInput(device, "Inputs.2", "Bypass mains", false);
    threePhases(device, "Inputs.1", 230.0F);
    threePhases(device, "Inputs.2", 231.0F);
    for (const char* converter : {"Rectifier", "DcBus", "Inverter"}) {
        const std::string part = std::string{"PowerConverters."} + converter;
        device.setAll({{part + ".Status.OperatingStatus", qz::CValue{16U}},
                       {part + ".Measure.ActivePower", qz::CValue{17888.8F}},
                       {part + ".Measure.PercentLoad", qz::CValue{44.7F}}});
    }
    device.set("PowerConverters.AutomaticBypass.Status.OperatingStatus", qz::CValue{7U});
    device.set("PowerConverters.MaintenanceBypass.Status.OperatingStatus", qz::CValue{5U});
    device.setAll({{"PowerModules.Attribute.Count", qz::CValue{4U}},
                   {"PowerModules.Status.Redundant", qz::CValue{true}},
                   {"PowerModules.Status.RedundancyLoss", qz::CValue{false}},
                   {"PowerModules.Setting.RedundancyLevel", qz::CValue{1U}}});
    device.setAll({{"BackupSystem.PowerBank.Measure.StateOfCharge", qz::CValue{100.0F}},
                   {"BackupSystem.PowerBank.Measure.RemainingTime", qz::CValue{12'000U}},
                   {"BackupSystem.PowerBank.Measure.Temperature", qz::CValue{22.5F}},
                   {"BackupSystem.PowerBank.Status.Supply", qz::CValue{false}},
                   {"BackupSystem.PowerBank.Chargers.1.Status.ChargerStatus", qz::CValue{1U}},
                   {"BackupSystem.PowerBank.Chargers.1.Status.OperatingStatus", qz::CValue{16U}}});
    for (const char* module : {"1", "2", "3", "4"}) {
        device.set(std::string{"BackupSystem.PowerBank.StorageModules."} + module + ".Status.OperatingStatus",
                   qz::CValue{*module == '3' ? 5U : 16U});
    }
    threePhases(device, "Outputs.1", 230.0F);
    device.setAll({{"Outputs.1.Measure.Frequency", qz::CValue{50.0F}},
                   {"Outputs.1.Measure.ActivePower", qz::CValue{17500.0F}},
                   {"Outputs.1.Measure.ApparentPower", qz::CValue{18421.0F}},
                   {"Outputs.1.Measure.PercentLoad", qz::CValue{46.05F}}});
    for (const char* phase : {"1", "2", "3"}) {
        device.set(std::string{"Outputs.1.Phases."} + phase + ".Measure.PercentLoad", qz::CValue{47.36F});
    }
    for (const char* outlet : {"1", "2"}) {
        const std::string part = std::string{"Outlets."} + outlet;
        device.setAll({{part + ".Status.SwitchedOn", qz::CValue{true}},
                       {part + ".Measure.ActivePower", qz::CValue{3600.0F}}});
    }
}

/// A transfer switch between two sources; what the library says of a battery that it has not is there too.
inline void fillAts(MemoryDevice& device) {
    device.text(tessapi::DeviceAttribute::productName, "Transfer 16");
    device.setAll({{"Status.Mode", qz::CValue{15U}}, {"Setting.PreferredSource", qz::CValue{1U}}});
    goodInput(device, "Inputs.1", "", true);
    goodInput(device, "Inputs.2", "", false);
    device.setAll({{"PowerConverters.TransferSwitch.Status.Source", qz::CValue{1U}},
                   {"PowerConverters.TransferSwitch.Status.OperatingStatus", qz::CValue{16U}},
                   {"PowerConverters.TransferSwitch.Measure.ActivePower", qz::CValue{900.0F}}});
    device.setAll({{"BackupSystem.PowerBank.CommunicationStatus.State", qz::CValue{4U}},
                   {"BackupSystem.PowerBank.Status.OperatingStatus", qz::CValue{5U}},
                   {"BackupSystem.PowerBank.Status.HealthState", qz::CValue{5U}}});
    device.setAll({{"Outputs.1.Measure.Voltage", volts(230.0F)},
                   {"Outputs.1.Measure.ActivePower", qz::CValue{900.0F}},
                   {"Outputs.1.Measure.PercentLoad", qz::CValue{25.5F}}});
}

/// A PDU with two branches and 42 outlets, every seventh of which is off.
inline void fillPdu(MemoryDevice& device) {
    device.text(tessapi::DeviceAttribute::productName, "Rack 42");
    device.set("Status.Mode", qz::CValue{2U});
    goodInput(device, "Inputs.1", "Feed A", true);
    threePhases(device, "Inputs.1", 230.0F);
    device.set("Inputs.1.Phases.2.Measure.Voltage", volts(214.0F));
    for (const char* branch : {"1", "2"}) {
        const std::string part = std::string{"Branches."} + branch;
        device.setAll({{part + ".Status.SwitchedOn", qz::CValue{true}},
                       {part + ".Status.BreakerTripped", qz::CValue{*branch == '2'}},
                       {part + ".Measure.Current", qz::CValue{4.370471F}},
                       {part + ".Measure.ActivePower", qz::CValue{965.0F}},
                       {part + ".Measure.PercentLoad", qz::CValue{27.315443F}}});
    }
    for (unsigned int number = 1; number <= 42; ++number) {
        const std::string part = "Outlets." + std::to_string(number);
        device.setAll({{part + ".Attribute.FriendlyName", qz::CValue{"Server " + std::to_string(number)}},
                       {part + ".Status.SwitchedOn", qz::CValue{number % 7 != 0}},
                       {part + ".Measure.Voltage", volts(230.0F)},
                       {part + ".Measure.Current", qz::CValue{number % 7 != 0 ? 0.522F : 0.0F}},
                       {part + ".Measure.ActivePower", qz::CValue{number % 7 != 0 ? 120.0F : 0.0F}},
                       {part + ".Status.HealthState", qz::CValue{5U}}});
    }
    device.set("Environment.Measure.Temperature", qz::CValue{24.0F});
}

} // namespace velk::cli::test
