#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// The kinds of device that the system knows.
enum class DeviceType : std::uint32_t {
    Ups = 1,
    Ats = 2,
    Pdu = 3,
};

/// How a charger treats its battery.
enum class ChargerMode : std::uint32_t {
    Cc = 1,
    Abm = 2,
};

/// Values of Status.ChargerStatus; the only list with a member 0.
enum class ChargerStatus : std::uint32_t {
    Off = 0,
    Charging = 1,
    Floating = 2,
    OnNotCharging = 3,
    Discharging = 4,
};

/// Values of Status.StoragePresent.
enum class StoragePresent : std::uint32_t {
    Present = 1,
    NotPresent = 2,
    NoStorageMode = 3,
};

/// Values of Specification.Type: the technology of the storage.
enum class Type : std::uint32_t {
    Batteries = 1,
    Supercaps = 2,
    Flywheel = 3,
    Hybrid = 4,
};

/// Values of Status.LastTestResult.
enum class TestResult : std::uint32_t {
    Success = 1,
    Fail = 2,
    Aborted = 3,
};

/// Values of Specification.Topology.
enum class Topology : std::uint32_t {
    Offline = 1,
    LineInteractive = 2,
    Online = 3,
};

/// Values of Specification.VoltageRange.
enum class VoltageRange : std::uint32_t {
    LowVoltage = 1,
    HighVoltage = 2,
};

/// Values of Setting.AudibleAlarmControl.
enum class AudibleAlarmControl : std::uint32_t {
    Disabled = 1,
    Enabled = 2,
    Muted = 3,
};

/// Values of Setting.PreferredSource.
enum class PreferredSource : std::uint32_t {
    Source1 = 1,
    Source2 = 2,
};

/// Values of Setting.SensitivityMode.
enum class SensitivityMode : std::uint32_t {
    Normal = 1,
    HighSensitivity = 2,
    LowSensitivity = 3,
};

/// Values of Setting.UnsynchronousTransferBreakTime.
enum class UnsynchronousTransferBreakTime : std::uint32_t {
    QuarterCycle = 1,
    HalfCycle = 2,
    FullCycle = 3,
};

/// Values of Setting.UnsynchronousTransferPolicy.
enum class UnsynchronousTransferPolicy : std::uint32_t {
    NotPermitted = 1,
    AllowedWithoutBreak = 2,
    AllowedWithBreak = 3,
};

/// Values of Status.Mode: the operating mode of a power path.
enum class Mode : std::uint32_t {
    Off = 1,
    OnLine = 2,
    OnBattery = 3,
    OnBuck = 4,
    OnBoost = 5,
    OnAutomaticBypass = 6,
    OnForcedBypass = 7,
    OnHighEfficiency = 8,
    OnMaintenanceBypass = 9,
    OnLineInteractiveNormal = 10,
    OnBypassStandby = 11,
    OnBootBypass = 12,
    OnBypass = 13,
    OnEss = 14,
    OnPreferredSource = 15,
    OnAlternateSource = 16,
};

/// The texts below are the labels that the store shows; "UNKNOWN" for a number without member.
VELK_EXPORT std::string to_string(DeviceType value);
VELK_EXPORT std::string to_string(ChargerMode value);
VELK_EXPORT std::string to_string(ChargerStatus value);
VELK_EXPORT std::string to_string(StoragePresent value);
VELK_EXPORT std::string to_string(Type value);
VELK_EXPORT std::string to_string(TestResult value);
VELK_EXPORT std::string to_string(Topology value);
VELK_EXPORT std::string to_string(VoltageRange value);
VELK_EXPORT std::string to_string(AudibleAlarmControl value);
VELK_EXPORT std::string to_string(PreferredSource value);
VELK_EXPORT std::string to_string(SensitivityMode value);
VELK_EXPORT std::string to_string(UnsynchronousTransferBreakTime value);
VELK_EXPORT std::string to_string(UnsynchronousTransferPolicy value);
VELK_EXPORT std::string to_string(Mode value);

} // namespace velk::powerdistribution
