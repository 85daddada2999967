#include "powerdistribution/core/ESpecification.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto specificationRows = std::to_array<EnumText<ESpecification>>({
    {ESpecification::ActivePowerHighWarningThreshold,   "Specification.ActivePower.HighWarningThreshold"},
    {ESpecification::ActivePowerMaxReading,             "Specification.ActivePower.MaxReading"},
    {ESpecification::ActivePowerMinReading,             "Specification.ActivePower.MinReading"},
    {ESpecification::ActivePowerNominal,                "Specification.ActivePower.Nominal"},
    {ESpecification::ApparentPowerHighWarningThreshold, "Specification.ApparentPower.HighWarningThreshold"},
    {ESpecification::ApparentPowerMaxReading,           "Specification.ApparentPower.MaxReading"},
    {ESpecification::ApparentPowerMinReading,           "Specification.ApparentPower.MinReading"},
    {ESpecification::ApparentPowerNominal,              "Specification.ApparentPower.Nominal"},
    {ESpecification::CapacityAhNominal,                 "Specification.CapacityAh.Nominal"},
    {ESpecification::CapacityWhNominal,                 "Specification.CapacityWh.Nominal"},
    {ESpecification::Chemistry,                         "Specification.Chemistry"},
    {ESpecification::ConnectorType,                     "Specification.ConnectorType"},
    {ESpecification::CurrentHighWarningThreshold,       "Specification.Current.HighWarningThreshold"},
    {ESpecification::CurrentMaxReading,                 "Specification.Current.MaxReading"},
    {ESpecification::CurrentMinReading,                 "Specification.Current.MinReading"},
    {ESpecification::CurrentNominal,                    "Specification.Current.Nominal"},
    {ESpecification::ExternalCount,                     "Specification.ExternalCount"},
    {ESpecification::Feed,                              "Specification.Feed"},
    {ESpecification::FrequencyHighCriticalThreshold,    "Specification.Frequency.HighCriticalThreshold"},
    {ESpecification::FrequencyLowCriticalThreshold,     "Specification.Frequency.LowCriticalThreshold"},
    {ESpecification::FrequencyMaxReading,               "Specification.Frequency.MaxReading"},
    {ESpecification::FrequencyMinReading,               "Specification.Frequency.MinReading"},
    {ESpecification::FrequencyNominal,                  "Specification.Frequency.Nominal"},
    {ESpecification::Internal,                          "Specification.Internal"},
    {ESpecification::PercentLoadHighWarningThreshold,   "Specification.PercentLoad.HighWarningThreshold"},
    {ESpecification::PercentLoadMaxReading,             "Specification.PercentLoad.MaxReading"},
    {ESpecification::PercentLoadMinReading,             "Specification.PercentLoad.MinReading"},
    {ESpecification::PowerCycleDuration,                "Specification.PowerCycleDuration"},
    {ESpecification::PowerFactorMaxReading,             "Specification.PowerFactor.MaxReading"},
    {ESpecification::PowerFactorMinReading,             "Specification.PowerFactor.MinReading"},
    {ESpecification::StateOfChargeLowWarningThreshold,  "Specification.StateOfCharge.LowWarningThreshold"},
    {ESpecification::Switchable,                        "Specification.Switchable"},
    {ESpecification::Technology,                        "Specification.Technology"},
    {ESpecification::TemperatureMaxReading,             "Specification.Temperature.MaxReading"},
    {ESpecification::TemperatureMinReading,             "Specification.Temperature.MinReading"},
    {ESpecification::Topology,                          "Specification.Topology"},
    {ESpecification::Type,                              "Specification.Type"},
    {ESpecification::VoltageFloating,                   "Specification.Voltage.Floating"},
    {ESpecification::VoltageLowCriticalThreshold,       "Specification.Voltage.LowCriticalThreshold"},
    {ESpecification::VoltageLowDeratedDetection,        "Specification.Voltage.LowDeratedDetection"},
    {ESpecification::VoltageLowWarningThreshold,        "Specification.Voltage.LowWarningThreshold"},
    {ESpecification::VoltageHighCriticalThreshold,      "Specification.Voltage.HighCriticalThreshold"},
    {ESpecification::VoltageHighWarningThreshold,       "Specification.Voltage.HighWarningThreshold"},
    {ESpecification::VoltageHysteresisDetection,        "Specification.Voltage.HysteresisDetection"},
    {ESpecification::VoltageMaxReading,                 "Specification.Voltage.MaxReading"},
    {ESpecification::VoltageMinReading,                 "Specification.Voltage.MinReading"},
    {ESpecification::VoltageNominal,                    "Specification.Voltage.Nominal"},
    {ESpecification::VoltageLLNominal,                  "Specification.VoltageLL.Nominal"},
    {ESpecification::VoltageRange,                      "Specification.VoltageRange"},
    {ESpecification::TrippedVoltageThreshold,           "Specification.TrippedVoltageThreshold"},
});
// clang-format on

static_assert(areRowsWellFormed(specificationRows));

} // namespace

std::string to_string(ESpecification value) {
    return findText(specificationRows, value);
}

} // namespace velk::powerdistribution
