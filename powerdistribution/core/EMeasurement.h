#pragma once

#include "powerdistribution/core/EnumText.h"

#include <cstdint>
#include <string>

namespace velk::powerdistribution {

/// What the device measures: SI units as in the store catalogue.
/// The numbers are contract: they travel in paths and never change.
enum class EMeasurement : std::uint32_t {
    ActivePowerAvailable = 1,
    ActivePower = 2,
    ApparentPowerAvailable = 3,
    ApparentPower = 4,
    AverageEnergy = 5,
    CumulatedEnergy = 6,
    CurrentAvailable = 7,
    Current = 8,
    CurrentTHD = 9,
    CyclesCount = 10,
    Efficiency = 11,
    EnergyDaily = 12,
    EnergyMonthly = 13,
    EnergyYearly = 14,
    Frequency = 15,
    LeakageCurrent = 16,
    MaxCellTemperature = 17,
    MaxCellVoltage = 18,
    MinCellTemperature = 19,
    MinCellVoltage = 20,
    NeutralCurrent = 21,
    PartialCumulatedEnergy = 22,
    PartialCumulatedEnergyStartDate = 23,
    PeakFactor = 24,
    PercentLoad = 25,
    PowerFactor = 26,
    ReactivePowerAvailable = 27,
    ReactivePower = 28,
    RemainingTime = 29,
    StateOfCharge = 30,
    StateOfHealth = 31,
    Temperature = 32,
    TotalCumulatedEnergy = 33,
    Voltage = 34,
    VoltageLL = 35,
    VoltageTHD = 36,
    Phase = 37,
};

/// The member's text as the store, the logs and the rule tables know it; "UNKNOWN" for a number without
/// member.
VELK_EXPORT std::string to_string(EMeasurement value);

} // namespace velk::powerdistribution
