#include "powerdistribution/core/ESetting.h"

namespace velk::powerdistribution {

namespace {

// Required: the row of 33 stands twice and there is no row for 36.
// clang-format off
constexpr auto settingRows = std::to_array<EnumText<ESetting>>({
    {ESetting::AudibleAlarmControl,              "Setting.AudibleAlarmControl"},
    {ESetting::AutomaticRestartEnabled,          "Setting.AutomaticRestartEnabled"},
    {ESetting::AutomaticRestartLevel,            "Setting.AutomaticRestartLevel"},
    {ESetting::AutomaticSleepDelay,              "Setting.AutomaticSleepDelay"},
    {ESetting::AutomaticSwitchOnDelay,           "Setting.AutomaticSwitchOnDelay"},
    {ESetting::AutomaticSwitchOffDelay,          "Setting.AutomaticSwitchOffDelay"},
    {ESetting::BypassTransferEnabled,            "Setting.BypassTransferEnabled"},
    {ESetting::CurrentHighCriticalThreshold,     "Setting.Current.HighCriticalThreshold"},
    {ESetting::CurrentHighWarningThreshold,      "Setting.Current.HighWarningThreshold"},
    {ESetting::CurrentLowCriticalThreshold,      "Setting.Current.LowCriticalThreshold"},
    {ESetting::CurrentLowWarningThreshold,       "Setting.Current.LowWarningThreshold"},
    {ESetting::DeepDischargeProtectionEnabled,   "Setting.DeepDischargeProtectionEnabled"},
    {ESetting::ForcedRebootDuration,             "Setting.ForcedRebootDuration"},
    {ESetting::ForcedRebootEnabled,              "Setting.ForcedRebootEnabled"},
    {ESetting::ForcedTransferEnabled,            "Setting.ForcedTransferEnabled"},
    {ESetting::FrequencyConverterEnabled,        "Setting.FrequencyConverterEnabled"},
    {ESetting::FrequencyDeviationLimit,          "Setting.FrequencyDeviationLimit"},
    {ESetting::FrequencyHighCriticalThreshold,   "Setting.Frequency.HighCriticalThreshold"},
    {ESetting::FrequencyLowCriticalThreshold,    "Setting.Frequency.LowCriticalThreshold"},
    {ESetting::HighEfficiencyEnabled,            "Setting.HighEfficiencyEnabled"},
    {ESetting::LowRuntimeThreshold,              "Setting.LowRuntimeThreshold"},
    {ESetting::LowStateOfChargeThreshold,        "Setting.LowStateOfChargeThreshold"},
    {ESetting::NominalVoltage,                   "Setting.NominalVoltage"},
    {ESetting::NoStorageModeEnabled,             "Setting.NoStorageModeEnabled"},
    {ESetting::OutOfToleranceTransferEnabled,    "Setting.OutOfToleranceTransferEnabled"},
    {ESetting::PercentLoadSleepLimit,            "Setting.PercentLoadSleepLimit"},
    {ESetting::PhaseDeviationLimit,              "Setting.PhaseDeviationLimit"},
    {ESetting::PreferredSource,                  "Setting.PreferredSource"},
    {ESetting::RemoteControlEnabled,             "Setting.RemoteControlEnabled"},
    {ESetting::RedundancyLevel,                  "Setting.RedundancyLevel"},
    {ESetting::SensitivityMode,                  "Setting.SensitivityMode"},
    {ESetting::Temperature,                      "Setting.Temperature"},
    {ESetting::TemperatureHighCriticalThreshold, "Setting.Temperature.HighCriticalThreshold"},
    {ESetting::TemperatureHighCriticalThreshold, "Setting.Temperature.HighCriticalThreshold"},
    {ESetting::TemperatureHighWarningThreshold,  "Setting.Temperature.HighWarningThreshold"},
    {ESetting::TemperatureLowCriticalThreshold,  "Setting.Temperature.LowCriticalThreshold"},
    {ESetting::UnsynchronousTransferBreakTime,   "Setting.UnsynchronousTransferBreakTime"},
    {ESetting::UnsynchronousTransferPolicy,      "Setting.UnsynchronousTransferPolicy"},
    {ESetting::VoltageHighCriticalThreshold,     "Setting.Voltage.HighCriticalThreshold"},
    {ESetting::VoltageHighDetection,             "Setting.VoltageHighDetection"},
    {ESetting::VoltageHighWarningThreshold,      "Setting.Voltage.HighWarningThreshold"},
    {ESetting::VoltageLowCriticalThreshold,      "Setting.Voltage.LowCriticalThreshold"},
    {ESetting::VoltageLowDetection,              "Setting.VoltageLowDetection"},
    {ESetting::VoltageLowWarningThreshold,       "Setting.Voltage.LowWarningThreshold"},
    {ESetting::WiringFaultEnabled,               "Setting.WiringFaultEnabled"},
});
// clang-format on

static_assert(areRowsWellFormed(settingRows));

} // namespace

std::string to_string(ESetting value) {
    return findText(settingRows, value);
}

} // namespace velk::powerdistribution
