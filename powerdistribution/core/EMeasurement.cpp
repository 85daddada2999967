#include "powerdistribution/core/EMeasurement.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto measurementRows = std::to_array<EnumText<EMeasurement>>({
    {EMeasurement::ActivePowerAvailable,            "Measure.ActivePowerAvailable"},
    {EMeasurement::ActivePower,                     "Measure.ActivePower"},
    {EMeasurement::ApparentPowerAvailable,          "Measure.ApparentPowerAvailable"},
    {EMeasurement::ApparentPower,                   "Measure.ApparentPower"},
    {EMeasurement::AverageEnergy,                   "Measure.AverageEnergy"},
    {EMeasurement::CumulatedEnergy,                 "Measure.CumulatedEnergy"},
    {EMeasurement::CurrentAvailable,                "Measure.CurrentAvailable"},
    {EMeasurement::Current,                         "Measure.Current"},
    {EMeasurement::CurrentTHD,                      "Measure.CurrentTHD"},
    {EMeasurement::CyclesCount,                     "Measure.CyclesCount"},
    {EMeasurement::Efficiency,                      "Measure.Efficiency"},
    {EMeasurement::EnergyDaily,                     "Measure.EnergyDaily"},
    {EMeasurement::EnergyMonthly,                   "Measure.EnergyMonthly"},
    {EMeasurement::EnergyYearly,                    "Measure.EnergyYearly"},
    {EMeasurement::Frequency,                       "Measure.Frequency"},
    {EMeasurement::LeakageCurrent,                  "Measure.LeakageCurrent"},
    {EMeasurement::MaxCellTemperature,              "Measure.MaxCellTemperature"},
    {EMeasurement::MaxCellVoltage,                  "Measure.MaxCellVoltage"},
    {EMeasurement::MinCellTemperature,              "Measure.MinCellTemperature"},
    {EMeasurement::MinCellVoltage,                  "Measure.MinCellVoltage"},
    {EMeasurement::NeutralCurrent,                  "Measure.NeutralCurrent"},
    {EMeasurement::PartialCumulatedEnergy,          "Measure.PartialCumulatedEnergy"},
    {EMeasurement::PartialCumulatedEnergyStartDate, "Measure.PartialCumulatedEnergyStartDate"},
    {EMeasurement::PeakFactor,                      "Measure.PeakFactor"},
    {EMeasurement::PercentLoad,                     "Measure.PercentLoad"},
    {EMeasurement::PowerFactor,                     "Measure.PowerFactor"},
    {EMeasurement::ReactivePowerAvailable,          "Measure.ReactivePowerAvailable"},
    {EMeasurement::ReactivePower,                   "Measure.ReactivePower"},
    {EMeasurement::RemainingTime,                   "Measure.RemainingTime"},
    {EMeasurement::StateOfCharge,                   "Measure.StateOfCharge"},
    {EMeasurement::StateOfHealth,                   "Measure.StateOfHealth"},
    {EMeasurement::Temperature,                     "Measure.Temperature"},
    {EMeasurement::TotalCumulatedEnergy,            "Measure.TotalCumulatedEnergy"},
    {EMeasurement::Voltage,                         "Measure.Voltage"},
    {EMeasurement::VoltageLL,                       "Measure.VoltageLL"},
    {EMeasurement::VoltageTHD,                      "Measure.VoltageTHD"},
    {EMeasurement::Phase,                           "Measure.Phase"},
});
// clang-format on

static_assert(areRowsWellFormed(measurementRows));

} // namespace

std::string to_string(EMeasurement value) {
    return findText(measurementRows, value);
}

} // namespace velk::powerdistribution
