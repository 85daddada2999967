#include "powerdistribution/core/Vocabulary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::powerdistribution {
namespace {

/// The spelling of an enumerator as the compiler knows it, or "" for a number without one.
template <auto Member>
std::string_view spelling() {
    const std::string_view signature = __PRETTY_FUNCTION__;
    const std::size_t begin = signature.find("Member = ") + std::string_view{"Member = "}.size();
    const std::size_t end = signature.find_first_of(";]", begin);
    const std::string_view full = signature.substr(begin, end - begin);
    if (full.front() == '(') {
        return {};
    }
    return full.substr(full.rfind("::") + 2);
}

template <typename E, std::size_t... Numbers>
std::map<std::uint32_t, std::string> spellings(std::index_sequence<Numbers...>) {
    std::map<std::uint32_t, std::string> all;
    ((spelling<static_cast<E>(Numbers)>().empty()
          ? void()
          : void(all.emplace(Numbers, std::string{spelling<static_cast<E>(Numbers)>()}))),
     ...);
    return all;
}

std::string withoutDots(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '.'), text.end());
    return text;
}

/// Every enumerator's text is its family, if it has one, and then its spelling.
template <typename E>
void expectTextsAreSpellings(const std::string& family, std::size_t members) {
    const auto all = spellings<E>(std::make_index_sequence<128>{});
    EXPECT_EQ(all.size(), members);
    for (const auto& [number, name] : all) {
        const std::string text = to_string(static_cast<E>(number));
        EXPECT_EQ(text.substr(0, family.size()), family) << number;
        EXPECT_EQ(withoutDots(text.substr(family.size())), name) << number;
    }
}

TEST(VocabularyTest, EnumeratorsAreSpelledAsTheirTexts) {
    expectTextsAreSpellings<EProperty>("", 2);
    expectTextsAreSpellings<ECommunicationStatus>("CommunicationStatus.", 2);
    expectTextsAreSpellings<ECircuit>("", 16);
    expectTextsAreSpellings<EPowerConverter>("", 7);
    expectTextsAreSpellings<EMeasurement>("Measure.", 37);
    expectTextsAreSpellings<ESpecification>("Specification.", 50);
    expectTextsAreSpellings<ESetting>("Setting.", 44);
    expectTextsAreSpellings<EStatus>("Status.", 102);
    expectTextsAreSpellings<EAttribute>("Attribute.", 18);
    expectTextsAreSpellings<EAction>("Action.", 8);
    expectTextsAreSpellings<EPrivate>("Private.", 4);
    expectTextsAreSpellings<EPrivateAction>("PrivateAction.", 7);
}

template <typename E>
std::string textOf(std::uint32_t number) {
    return to_string(static_cast<E>(number));
}

TEST(VocabularyTest, NumberWithoutMemberIsUnknown) {
    EXPECT_EQ(textOf<ESetting>(36), "UNKNOWN");
    EXPECT_EQ(textOf<ECircuit>(0), "UNKNOWN");
    EXPECT_EQ(textOf<EPowerConverter>(8), "UNKNOWN");
    EXPECT_EQ(textOf<EStatus>(103), "UNKNOWN");
    EXPECT_EQ(textOf<Mode>(0), "UNKNOWN");
    EXPECT_EQ(textOf<Mode>(17), "UNKNOWN");
}

TEST(VocabularyTest, TemperatureHighCriticalThresholdIsSetting33) {
    EXPECT_EQ(textOf<ESetting>(33), "Setting.Temperature.HighCriticalThreshold");
    EXPECT_EQ(textOf<ESetting>(34), "Setting.Temperature.HighWarningThreshold");
    EXPECT_EQ(textOf<ESetting>(35), "Setting.Temperature.LowCriticalThreshold");
    EXPECT_EQ(textOf<ESetting>(37), "Setting.UnsynchronousTransferBreakTime");
    EXPECT_EQ(textOf<ESetting>(45), "Setting.WiringFaultEnabled");
}

TEST(VocabularyTest, NumbersDoNotFollowTheAlphabet) {
    EXPECT_EQ(textOf<EAttribute>(9), "Attribute.Model");
    EXPECT_EQ(textOf<EAttribute>(10), "Attribute.MacAddress");
    EXPECT_EQ(textOf<EAttribute>(11), "Attribute.Manufacturer");
    EXPECT_EQ(textOf<ESpecification>(38), "Specification.Voltage.Floating");
    EXPECT_EQ(textOf<ESpecification>(41), "Specification.Voltage.LowWarningThreshold");
    EXPECT_EQ(textOf<ESpecification>(42), "Specification.Voltage.HighCriticalThreshold");
    EXPECT_EQ(textOf<ESpecification>(44), "Specification.Voltage.HysteresisDetection");
    EXPECT_EQ(textOf<EStatus>(45), "Status.InvalidWaveform");
    EXPECT_EQ(textOf<EStatus>(70), "Status.RedundancyLoss");
    EXPECT_EQ(textOf<EStatus>(71), "Status.Redundant");
    EXPECT_EQ(textOf<EMeasurement>(37), "Measure.Phase");
}

/// Splits at each separator.
std::vector<std::string> split(const std::string& list, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream{list};
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

/// The numbers from `first` on have these texts behind `family` ("-" for a free number), and those around
/// them have none.
template <typename E>
void expectMembers(const std::string& family, std::uint32_t first, char separator, const std::string& list) {
    std::uint32_t number = first;
    for (const std::string& text : split(list, separator)) {
        EXPECT_EQ(textOf<E>(number), text == "-" ? "UNKNOWN" : family + text) << number;
        ++number;
    }
    EXPECT_EQ(textOf<E>(number), "UNKNOWN") << number;
    EXPECT_EQ(textOf<E>(first - 1), "UNKNOWN") << first - 1;
}

TEST(VocabularyTest, EveryNumberOfANodeMeasureOrSpecificationHasItsText) {
    expectMembers<EProperty>("", 1, ' ', "Identification Settings");
    expectMembers<ECommunicationStatus>("CommunicationStatus.", 1, ' ', "State Since");
    expectMembers<ECircuit>(
        "", 1, ' ',
        "PowerEquipment PowerDistribution Inputs Outputs Branches Environment Phases Outlets "
        "PowerConverters PowerModules BackupSystem PowerBank Chargers StorageModules Connectivity "
        "Synchroniser");
    expectMembers<EPowerConverter>(
        "", 1, ' ', "Rectifier Inverter AutomaticBypass MaintenanceBypass Avr TransferSwitch DcBus");
    expectMembers<EMeasurement>(
        "Measure.", 1, ' ',
        "ActivePowerAvailable ActivePower ApparentPowerAvailable ApparentPower AverageEnergy "
        "CumulatedEnergy CurrentAvailable Current CurrentTHD CyclesCount Efficiency EnergyDaily "
        "EnergyMonthly EnergyYearly Frequency LeakageCurrent MaxCellTemperature MaxCellVoltage "
        "MinCellTemperature MinCellVoltage NeutralCurrent PartialCumulatedEnergy "
        "PartialCumulatedEnergyStartDate PeakFactor PercentLoad PowerFactor ReactivePowerAvailable "
        "ReactivePower RemainingTime StateOfCharge StateOfHealth Temperature TotalCumulatedEnergy "
        "Voltage VoltageLL VoltageTHD Phase");
    expectMembers<ESpecification>(
        "Specification.", 1, ' ',
        "ActivePower.HighWarningThreshold ActivePower.MaxReading ActivePower.MinReading "
        "ActivePower.Nominal ApparentPower.HighWarningThreshold ApparentPower.MaxReading "
        "ApparentPower.MinReading ApparentPower.Nominal CapacityAh.Nominal CapacityWh.Nominal "
        "Chemistry ConnectorType Current.HighWarningThreshold Current.MaxReading Current.MinReading "
        "Current.Nominal ExternalCount Feed Frequency.HighCriticalThreshold "
        "Frequency.LowCriticalThreshold Frequency.MaxReading Frequency.MinReading Frequency.Nominal "
        "Internal PercentLoad.HighWarningThreshold PercentLoad.MaxReading PercentLoad.MinReading "
        "PowerCycleDuration PowerFactor.MaxReading PowerFactor.MinReading "
        "StateOfCharge.LowWarningThreshold Switchable Technology Temperature.MaxReading "
        "Temperature.MinReading Topology Type Voltage.Floating Voltage.LowCriticalThreshold "
        "Voltage.LowDeratedDetection Voltage.LowWarningThreshold Voltage.HighCriticalThreshold "
        "Voltage.HighWarningThreshold Voltage.HysteresisDetection Voltage.MaxReading "
        "Voltage.MinReading Voltage.Nominal VoltageLL.Nominal VoltageRange TrippedVoltageThreshold");
}

TEST(VocabularyTest, EveryNumberOfASettingStatusAttributeOrActionHasItsText) {
    expectMembers<ESetting>(
        "Setting.", 1, ' ',
        "AudibleAlarmControl AutomaticRestartEnabled AutomaticRestartLevel AutomaticSleepDelay "
        "AutomaticSwitchOnDelay AutomaticSwitchOffDelay BypassTransferEnabled "
        "Current.HighCriticalThreshold Current.HighWarningThreshold Current.LowCriticalThreshold "
        "Current.LowWarningThreshold DeepDischargeProtectionEnabled ForcedRebootDuration "
        "ForcedRebootEnabled ForcedTransferEnabled FrequencyConverterEnabled FrequencyDeviationLimit "
        "Frequency.HighCriticalThreshold Frequency.LowCriticalThreshold HighEfficiencyEnabled "
        "LowRuntimeThreshold LowStateOfChargeThreshold NominalVoltage NoStorageModeEnabled "
        "OutOfToleranceTransferEnabled PercentLoadSleepLimit PhaseDeviationLimit PreferredSource "
        "RemoteControlEnabled RedundancyLevel SensitivityMode Temperature "
        "Temperature.HighCriticalThreshold Temperature.HighWarningThreshold "
        "Temperature.LowCriticalThreshold - UnsynchronousTransferBreakTime "
        "UnsynchronousTransferPolicy Voltage.HighCriticalThreshold VoltageHighDetection "
        "Voltage.HighWarningThreshold Voltage.LowCriticalThreshold VoltageLowDetection "
        "Voltage.LowWarningThreshold WiringFaultEnabled");
    expectMembers<EStatus>(
        "Status.", 1, ' ',
        "BmsFailure BootloaderMode BreakerTripped BuildingAlarm1 BuildingAlarm2 BuildingAlarm3 "
        "BuildingAlarm4 BuildingAlarm5 BuildingAlarm6 BuildingAlarm7 BuildingAlarm8 BuildingAlarm9 "
        "BuildingAlarm10 BuildingAlarm11 BuildingAlarm12 BuildingAlarm13 BuildingAlarm14 "
        "BuildingAlarm15 BuildingAlarm16 CabinetDoorOpen ChargerStatus CommunicationFault "
        "CompatibilityFault ConfigurationFault CriticalLowStateOfCharge CriticalOverload "
        "CurrentLimitation CurrentTooHigh DcBoostFault DcBusUnbalanced DcBusVoltageNegativeTooHigh "
        "DcBusVoltageNegativeTooLow DcBusVoltagePositiveTooHigh DcBusVoltagePositiveTooLow "
        "DelayBeforeSwitchOff DelayBeforeSwitchOn Depleted EmergencySwitchOff FanFault "
        "FrequencyOutOfRange FuseFault GroundFault InRange InternalFailure InvalidWaveform "
        "LastTestResult LastTestResultDate LastSuccessfulTestDate LcmInstallationDate "
        "LcmReplacementDate LcmExpired LowRuntime LowStateOfCharge LowStateOfHealth MeasureFault "
        "Mode ModemFault NeedService NegativeCurrent OnBoost OnBuck OnGenerator OverCurrent Overload "
        "Parallel PhaseOutOfRange PowerSupplyFault PreOverload Present RedundancyLoss Redundant "
        "ShortCircuit ShutdownImminent ShutdownPending Since Source StartupPending State "
        "StoragePresent Supplied SupplierPowerQuality Supply SwitchedOn SyncBusLoss "
        "TemperatureOutOfRange TemperatureTooHigh TemperatureTooLow TestStatus ThermalOverload "
        "Unbalanced Used VoltageDcOffsetTooHigh VoltageOutOfRange VoltageDerated VoltageTooHigh "
        "VoltageTooLow WatchdogFault WiringFault WiringFaultPhaseNeutralInversion "
        "WiringFaultPhaseRotation OperatingStatus HealthState");
    expectMembers<EAttribute>(
        "Attribute.", 1, ' ',
        "Count CurrentDate FirmwareVersion FriendlyName HardwareVersion Ipv4 Ipv6 Location Model "
        "MacAddress Manufacturer PartNumber PhysicalName ProductName ReferenceNumber SerialNumber "
        "Uuid Vendor");
    expectMembers<EAction>(
        "Action.", 1, ' ',
        "AbortTest CancelSwitchOff CancelSwitchOffWithAutoRestart CancelSwitchOn StartTest SwitchOff "
        "SwitchOffWithAutoRestart SwitchOn");
    expectMembers<EPrivate>("Private.", 1, ' ', "AlarmConfigurationFile InternalLogs LogChunk LogTopId");
    expectMembers<EPrivateAction>(
        "PrivateAction.", 1, ' ',
        "ExportKdp SetDate SetFirmwareVersion SetIpv4Address SetIpv6Address SetMacAddress "
        "SetProductName");
}

TEST(VocabularyTest, EveryNumberOfAStateHasItsText) {
    expectMembers<DeviceType>("", 1, '|', "UPS|ATS|PDU");
    expectMembers<ChargerMode>("", 1, '|', "cc|abm");
    expectMembers<ChargerStatus>("", 0, '|', "off|charging|floating|on not charging|discharging");
    expectMembers<StoragePresent>("", 1, '|', "present|not present|no storage mode");
    expectMembers<Type>("", 1, '|', "batteries|supercaps|flywheel|hybrid");
    expectMembers<TestResult>("", 1, '|', "success|fail|aborted");
    expectMembers<Topology>("", 1, '|', "offline|line interactive|online");
    expectMembers<VoltageRange>("", 1, '|', "low voltage|high voltage");
    expectMembers<AudibleAlarmControl>("", 1, '|', "disabled|enabled|muted");
    expectMembers<PreferredSource>("", 1, '|', "source1|source2");
    expectMembers<SensitivityMode>("", 1, '|', "normal|high sensitivity|low sensitivity");
    expectMembers<UnsynchronousTransferBreakTime>("", 1, '|', "quarter cycle|half cycle|full cycle");
    expectMembers<UnsynchronousTransferPolicy>("", 1, '|',
                                               "not permitted|allowed without break|allowed with break");
    expectMembers<Mode>(
        "", 1, '|',
        "off|on line|on battery|on buck|on boost|on automatic bypass|on forced bypass|"
        "on high efficiency|on maintenance bypass|on line interactive normal|on bypass standby|"
        "on boot bypass|on bypass|on ess|on preferred source|on alternate source");
}

TEST(VocabularyTest, OffIsTheOnlyValueMemberWithNumberZero) {
    EXPECT_EQ(textOf<ChargerStatus>(0), "off");
    EXPECT_EQ(textOf<TestResult>(0), "UNKNOWN");
    EXPECT_EQ(textOf<StoragePresent>(0), "UNKNOWN");
    EXPECT_EQ(textOf<Topology>(0), "UNKNOWN");
    EXPECT_EQ(textOf<AudibleAlarmControl>(0), "UNKNOWN");
}

} // namespace
} // namespace velk::powerdistribution
