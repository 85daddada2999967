#include "powerdistribution/core/EnumList.h"

#include "powerdistribution/core/ValueEnums.h"

#include <map>

namespace velk::powerdistribution {

namespace {

template <typename E>
using Row = EnumToValue<E, std::string_view>;

template <typename Datum>
using Lists = std::map<Datum, const EnumList*>;

template <typename Datum>
const EnumList* find(const Lists<Datum>& lists, Datum datum) {
    const auto entry = lists.find(datum);
    return entry == lists.end() ? nullptr : entry->second;
}

// clang-format off
constexpr auto topologies = std::to_array<Row<Topology>>({
    {"offline",          Topology::Offline},
    {"line interactive", Topology::LineInteractive},
    {"online",           Topology::Online},
});
constexpr auto types = std::to_array<Row<Type>>({
    {"batteries", Type::Batteries},
    {"supercaps", Type::Supercaps},
    {"flywheel",  Type::Flywheel},
    {"hybrid",    Type::Hybrid},
});
// Required: the row of 2 comes first.
constexpr auto voltageRanges = std::to_array<Row<VoltageRange>>({
    {"high voltage", VoltageRange::HighVoltage},
    {"low voltage",  VoltageRange::LowVoltage},
});
constexpr auto chargerStatuses = std::to_array<Row<ChargerStatus>>({
    {"off",             ChargerStatus::Off},
    {"charging",        ChargerStatus::Charging},
    {"floating",        ChargerStatus::Floating},
    {"on not charging", ChargerStatus::OnNotCharging},
    {"discharging",     ChargerStatus::Discharging},
});
constexpr auto testResults = std::to_array<Row<TestResult>>({
    {"success", TestResult::Success},
    {"fail",    TestResult::Fail},
    {"aborted", TestResult::Aborted},
});
constexpr auto modes = std::to_array<Row<Mode>>({
    {"off",                        Mode::Off},
    {"on line",                    Mode::OnLine},
    {"on battery",                 Mode::OnBattery},
    {"on buck",                    Mode::OnBuck},
    {"on boost",                   Mode::OnBoost},
    {"on automatic bypass",        Mode::OnAutomaticBypass},
    {"on forced bypass",           Mode::OnForcedBypass},
    {"on high efficiency",         Mode::OnHighEfficiency},
    {"on maintenance bypass",      Mode::OnMaintenanceBypass},
    {"on line interactive normal", Mode::OnLineInteractiveNormal},
    {"on bypass standby",          Mode::OnBypassStandby},
    {"on boot bypass",             Mode::OnBootBypass},
    {"on bypass",                  Mode::OnBypass},
    {"on ess",                     Mode::OnEss},
    {"on preferred source",        Mode::OnPreferredSource},
    {"on alternate source",        Mode::OnAlternateSource},
});
constexpr auto storagePresences = std::to_array<Row<StoragePresent>>({
    {"present",         StoragePresent::Present},
    {"not present",     StoragePresent::NotPresent},
    {"no storage mode", StoragePresent::NoStorageMode},
});
constexpr auto audibleAlarmControls = std::to_array<Row<AudibleAlarmControl>>({
    {"disabled", AudibleAlarmControl::Disabled},
    {"enabled",  AudibleAlarmControl::Enabled},
    {"muted",    AudibleAlarmControl::Muted},
});
constexpr auto preferredSources = std::to_array<Row<PreferredSource>>({
    {"source1", PreferredSource::Source1},
    {"source2", PreferredSource::Source2},
});
constexpr auto sensitivityModes = std::to_array<Row<SensitivityMode>>({
    {"normal",           SensitivityMode::Normal},
    {"high sensitivity", SensitivityMode::HighSensitivity},
    {"low sensitivity",  SensitivityMode::LowSensitivity},
});
constexpr auto transferBreakTimes = std::to_array<Row<UnsynchronousTransferBreakTime>>({
    {"quarter cycle", UnsynchronousTransferBreakTime::QuarterCycle},
    {"half cycle",    UnsynchronousTransferBreakTime::HalfCycle},
    {"full cycle",    UnsynchronousTransferBreakTime::FullCycle},
});
constexpr auto transferPolicies = std::to_array<Row<UnsynchronousTransferPolicy>>({
    {"not permitted",         UnsynchronousTransferPolicy::NotPermitted},
    {"allowed without break", UnsynchronousTransferPolicy::AllowedWithoutBreak},
    {"allowed with break",    UnsynchronousTransferPolicy::AllowedWithBreak},
});
// clang-format on

} // namespace

const EnumList* GetEnumList(ESpecification datum) {
    static const Lists<ESpecification> lists{
        {ESpecification::Topology, createEnumList(topologies)},
        {ESpecification::Type, createEnumList(types)},
        {ESpecification::VoltageRange, createEnumList(voltageRanges)},
    };
    return find(lists, datum);
}

const EnumList* GetEnumList(EStatus datum) {
    static const Lists<EStatus> lists{
        {EStatus::ChargerStatus, createEnumList(chargerStatuses)},
        {EStatus::LastTestResult, createEnumList(testResults)},
        {EStatus::Mode, createEnumList(modes)},
        {EStatus::StoragePresent, createEnumList(storagePresences)},
    };
    return find(lists, datum);
}

const EnumList* GetEnumList(ESetting datum) {
    static const Lists<ESetting> lists{
        {ESetting::AudibleAlarmControl, createEnumList(audibleAlarmControls)},
        {ESetting::PreferredSource, createEnumList(preferredSources)},
        {ESetting::SensitivityMode, createEnumList(sensitivityModes)},
        {ESetting::UnsynchronousTransferBreakTime, createEnumList(transferBreakTimes)},
        {ESetting::UnsynchronousTransferPolicy, createEnumList(transferPolicies)},
    };
    return find(lists, datum);
}

const EnumList* GetEnumList(EMeasurement) {
    return nullptr;
}

const EnumList* GetEnumList(EAction) {
    return nullptr;
}

} // namespace velk::powerdistribution
