#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// Nameplate values: what the device was built for.
/// The numbers are contract: they travel in paths and never change.
enum class ESpecification : std::uint32_t {
    ActivePowerHighWarningThreshold = 1,
    ActivePowerMaxReading = 2,
    ActivePowerMinReading = 3,
    ActivePowerNominal = 4,
    ApparentPowerHighWarningThreshold = 5,
    ApparentPowerMaxReading = 6,
    ApparentPowerMinReading = 7,
    ApparentPowerNominal = 8,
    CapacityAhNominal = 9,
    CapacityWhNominal = 10,
    Chemistry = 11,
    ConnectorType = 12,
    CurrentHighWarningThreshold = 13,
    CurrentMaxReading = 14,
    CurrentMinReading = 15,
    CurrentNominal = 16,
    ExternalCount = 17,
    Feed = 18,
    FrequencyHighCriticalThreshold = 19,
    FrequencyLowCriticalThreshold = 20,
    FrequencyMaxReading = 21,
    FrequencyMinReading = 22,
    FrequencyNominal = 23,
    Internal = 24,
    PercentLoadHighWarningThreshold = 25,
    PercentLoadMaxReading = 26,
    PercentLoadMinReading = 27,
    PowerCycleDuration = 28,
    PowerFactorMaxReading = 29,
    PowerFactorMinReading = 30,
    StateOfChargeLowWarningThreshold = 31,
    Switchable = 32,
    Technology = 33,
    TemperatureMaxReading = 34,
    TemperatureMinReading = 35,
    Topology = 36,
    Type = 37,
    VoltageFloating = 38,
    VoltageLowCriticalThreshold = 39,
    VoltageLowDeratedDetection = 40,
    VoltageLowWarningThreshold = 41,
    VoltageHighCriticalThreshold = 42,
    VoltageHighWarningThreshold = 43,
    VoltageHysteresisDetection = 44,
    VoltageMaxReading = 45,
    VoltageMinReading = 46,
    VoltageNominal = 47,
    VoltageLLNominal = 48,
    VoltageRange = 49,
    TrippedVoltageThreshold = 50,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(ESpecification value);

} // namespace velk::powerdistribution
