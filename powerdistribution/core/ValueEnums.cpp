#include "powerdistribution/core/ValueEnums.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto deviceTypeRows = std::to_array<EnumText<DeviceType>>({
    {DeviceType::Ups, "UPS"},
    {DeviceType::Ats, "ATS"},
    {DeviceType::Pdu, "PDU"},
});
static_assert(areRowsWellFormed(deviceTypeRows));

constexpr auto chargerModeRows = std::to_array<EnumText<ChargerMode>>({
    {ChargerMode::Cc,  "cc"},
    {ChargerMode::Abm, "abm"},
});
static_assert(areRowsWellFormed(chargerModeRows));

constexpr auto chargerStatusRows = std::to_array<EnumText<ChargerStatus>>({
    {ChargerStatus::Off,           "off"},
    {ChargerStatus::Charging,      "charging"},
    {ChargerStatus::Floating,      "floating"},
    {ChargerStatus::OnNotCharging, "on not charging"},
    {ChargerStatus::Discharging,   "discharging"},
});
static_assert(areRowsWellFormed(chargerStatusRows));

constexpr auto storagePresentRows = std::to_array<EnumText<StoragePresent>>({
    {StoragePresent::Present,       "present"},
    {StoragePresent::NotPresent,    "not present"},
    {StoragePresent::NoStorageMode, "no storage mode"},
});
static_assert(areRowsWellFormed(storagePresentRows));

constexpr auto typeRows = std::to_array<EnumText<Type>>({
    {Type::Batteries, "batteries"},
    {Type::Supercaps, "supercaps"},
    {Type::Flywheel,  "flywheel"},
    {Type::Hybrid,    "hybrid"},
});
static_assert(areRowsWellFormed(typeRows));

constexpr auto testResultRows = std::to_array<EnumText<TestResult>>({
    {TestResult::Success, "success"},
    {TestResult::Fail,    "fail"},
    {TestResult::Aborted, "aborted"},
});
static_assert(areRowsWellFormed(testResultRows));

constexpr auto topologyRows = std::to_array<EnumText<Topology>>({
    {Topology::Offline,         "offline"},
    {Topology::LineInteractive, "line interactive"},
    {Topology::Online,          "online"},
});
static_assert(areRowsWellFormed(topologyRows));

constexpr auto voltageRangeRows = std::to_array<EnumText<VoltageRange>>({
    {VoltageRange::LowVoltage,  "low voltage"},
    {VoltageRange::HighVoltage, "high voltage"},
});
static_assert(areRowsWellFormed(voltageRangeRows));

constexpr auto audibleAlarmControlRows = std::to_array<EnumText<AudibleAlarmControl>>({
    {AudibleAlarmControl::Disabled, "disabled"},
    {AudibleAlarmControl::Enabled,  "enabled"},
    {AudibleAlarmControl::Muted,    "muted"},
});
static_assert(areRowsWellFormed(audibleAlarmControlRows));

constexpr auto preferredSourceRows = std::to_array<EnumText<PreferredSource>>({
    {PreferredSource::Source1, "source1"},
    {PreferredSource::Source2, "source2"},
});
static_assert(areRowsWellFormed(preferredSourceRows));

constexpr auto sensitivityModeRows = std::to_array<EnumText<SensitivityMode>>({
    {SensitivityMode::Normal,          "normal"},
    {SensitivityMode::HighSensitivity, "high sensitivity"},
    {SensitivityMode::LowSensitivity,  "low sensitivity"},
});
static_assert(areRowsWellFormed(sensitivityModeRows));

constexpr auto unsynchronousTransferBreakTimeRows = std::to_array<EnumText<UnsynchronousTransferBreakTime>>({
    {UnsynchronousTransferBreakTime::QuarterCycle, "quarter cycle"},
    {UnsynchronousTransferBreakTime::HalfCycle,    "half cycle"},
    {UnsynchronousTransferBreakTime::FullCycle,    "full cycle"},
});
static_assert(areRowsWellFormed(unsynchronousTransferBreakTimeRows));

constexpr auto unsynchronousTransferPolicyRows = std::to_array<EnumText<UnsynchronousTransferPolicy>>({
    {UnsynchronousTransferPolicy::NotPermitted,        "not permitted"},
    {UnsynchronousTransferPolicy::AllowedWithoutBreak, "allowed without break"},
    {UnsynchronousTransferPolicy::AllowedWithBreak,    "allowed with break"},
});
static_assert(areRowsWellFormed(unsynchronousTransferPolicyRows));

constexpr auto modeRows = std::to_array<EnumText<Mode>>({
    {Mode::Off,                     "off"},
    {Mode::OnLine,                  "on line"},
    {Mode::OnBattery,               "on battery"},
    {Mode::OnBuck,                  "on buck"},
    {Mode::OnBoost,                 "on boost"},
    {Mode::OnAutomaticBypass,       "on automatic bypass"},
    {Mode::OnForcedBypass,          "on forced bypass"},
    {Mode::OnHighEfficiency,        "on high efficiency"},
    {Mode::OnMaintenanceBypass,     "on maintenance bypass"},
    {Mode::OnLineInteractiveNormal, "on line interactive normal"},
    {Mode::OnBypassStandby,         "on bypass standby"},
    {Mode::OnBootBypass,            "on boot bypass"},
    {Mode::OnBypass,                "on bypass"},
    {Mode::OnEss,                   "on ess"},
    {Mode::OnPreferredSource,       "on preferred source"},
    {Mode::OnAlternateSource,       "on alternate source"},
});
static_assert(areRowsWellFormed(modeRows));
// clang-format on

} // namespace

std::string to_string(DeviceType value) {
    return findText(deviceTypeRows, value);
}
std::string to_string(ChargerMode value) {
    return findText(chargerModeRows, value);
}
std::string to_string(ChargerStatus value) {
    return findText(chargerStatusRows, value);
}
std::string to_string(StoragePresent value) {
    return findText(storagePresentRows, value);
}
std::string to_string(Type value) {
    return findText(typeRows, value);
}
std::string to_string(TestResult value) {
    return findText(testResultRows, value);
}
std::string to_string(Topology value) {
    return findText(topologyRows, value);
}
std::string to_string(VoltageRange value) {
    return findText(voltageRangeRows, value);
}
std::string to_string(AudibleAlarmControl value) {
    return findText(audibleAlarmControlRows, value);
}
std::string to_string(PreferredSource value) {
    return findText(preferredSourceRows, value);
}
std::string to_string(SensitivityMode value) {
    return findText(sensitivityModeRows, value);
}
std::string to_string(UnsynchronousTransferBreakTime value) {
    return findText(unsynchronousTransferBreakTimeRows, value);
}
std::string to_string(UnsynchronousTransferPolicy value) {
    return findText(unsynchronousTransferPolicyRows, value);
}
std::string to_string(Mode value) {
    return findText(modeRows, value);
}

} // namespace velk::powerdistribution
