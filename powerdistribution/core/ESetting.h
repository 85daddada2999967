#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// What a person can set on the device. The number 36 is free.
/// The numbers are contract: they travel in paths and never change.
enum class ESetting : std::uint32_t {
    AudibleAlarmControl = 1,
    AutomaticRestartEnabled = 2,
    AutomaticRestartLevel = 3,
    AutomaticSleepDelay = 4,
    AutomaticSwitchOnDelay = 5,
    AutomaticSwitchOffDelay = 6,
    BypassTransferEnabled = 7,
    CurrentHighCriticalThreshold = 8,
    CurrentHighWarningThreshold = 9,
    CurrentLowCriticalThreshold = 10,
    CurrentLowWarningThreshold = 11,
    DeepDischargeProtectionEnabled = 12,
    ForcedRebootDuration = 13,
    ForcedRebootEnabled = 14,
    ForcedTransferEnabled = 15,
    FrequencyConverterEnabled = 16,
    FrequencyDeviationLimit = 17,
    FrequencyHighCriticalThreshold = 18,
    FrequencyLowCriticalThreshold = 19,
    HighEfficiencyEnabled = 20,
    LowRuntimeThreshold = 21,
    LowStateOfChargeThreshold = 22,
    NominalVoltage = 23,
    NoStorageModeEnabled = 24,
    OutOfToleranceTransferEnabled = 25,
    PercentLoadSleepLimit = 26,
    PhaseDeviationLimit = 27,
    PreferredSource = 28,
    RemoteControlEnabled = 29,
    RedundancyLevel = 30,
    SensitivityMode = 31,
    Temperature = 32,
    TemperatureHighCriticalThreshold = 33,
    TemperatureHighWarningThreshold = 34,
    TemperatureLowCriticalThreshold = 35,
    UnsynchronousTransferBreakTime = 37,
    UnsynchronousTransferPolicy = 38,
    VoltageHighCriticalThreshold = 39,
    VoltageHighDetection = 40,
    VoltageHighWarningThreshold = 41,
    VoltageLowCriticalThreshold = 42,
    VoltageLowDetection = 43,
    VoltageLowWarningThreshold = 44,
    WiringFaultEnabled = 45,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(ESetting value);

} // namespace velk::powerdistribution
