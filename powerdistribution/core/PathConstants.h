#pragma once

#include "powerdistribution/core/EPath.h"

/// The paths that rules and handlers share, most of them relative to a node of the tree.
///
/// Defined in the header, so that a static table in any file finds them initialised; a declaration of
/// constants that are defined elsewhere would leave that to the order of linking.
namespace velk::powerdistribution::paths {

// clang-format off
inline const EPath specificationActivePowerMaxReading{ESpecification::ActivePowerMaxReading};
inline const EPath specificationActivePowerMinReading{ESpecification::ActivePowerMinReading};
inline const EPath specificationActivePowerNominal{ESpecification::ActivePowerNominal};
inline const EPath specificationActivePowerHighWarningThreshold{ESpecification::ActivePowerHighWarningThreshold};
inline const EPath specificationApparentPowerMaxReading{ESpecification::ApparentPowerMaxReading};
inline const EPath specificationApparentPowerMinReading{ESpecification::ApparentPowerMinReading};
inline const EPath specificationApparentPowerNominal{ESpecification::ApparentPowerNominal};
inline const EPath specificationApparentPowerHighWarningThreshold{ESpecification::ApparentPowerHighWarningThreshold};
inline const EPath specificationCurrentMaxReading{ESpecification::CurrentMaxReading};
inline const EPath specificationCurrentMinReading{ESpecification::CurrentMinReading};
inline const EPath specificationCurrentNominal{ESpecification::CurrentNominal};
inline const EPath specificationCurrentHighWarningThreshold{ESpecification::CurrentHighWarningThreshold};
inline const EPath specificationFrequencyNominal{ESpecification::FrequencyNominal};
inline const EPath specificationPowerFactorMaxReading{ESpecification::PowerFactorMaxReading};
inline const EPath specificationPowerFactorMinReading{ESpecification::PowerFactorMinReading};
inline const EPath specificationVoltageHighCriticalThreshold{ESpecification::VoltageHighCriticalThreshold};
inline const EPath specificationVoltageHighWarningThreshold{ESpecification::VoltageHighWarningThreshold};
inline const EPath specificationVoltageLowCriticalThreshold{ESpecification::VoltageLowCriticalThreshold};
inline const EPath specificationVoltageLowWarningThreshold{ESpecification::VoltageLowWarningThreshold};
inline const EPath specificationVoltageMaxReading{ESpecification::VoltageMaxReading};
inline const EPath specificationVoltageMinReading{ESpecification::VoltageMinReading};
inline const EPath specificationVoltageNominal{ESpecification::VoltageNominal};
inline const EPath specificationVoltageLLNominal{ESpecification::VoltageLLNominal};
inline const EPath specificationVoltageRange{ESpecification::VoltageRange};
inline const EPath measureActivePower{EMeasurement::ActivePower};
inline const EPath measureActivePowerAvailable{EMeasurement::ActivePowerAvailable};
inline const EPath measureApparentPower{EMeasurement::ApparentPower};
inline const EPath measureApparentPowerAvailable{EMeasurement::ApparentPowerAvailable};
inline const EPath measureCurrent{EMeasurement::Current};
inline const EPath measureCurrentAvailable{EMeasurement::CurrentAvailable};
inline const EPath measureEfficiency{EMeasurement::Efficiency};
inline const EPath measureFrequency{EMeasurement::Frequency};
inline const EPath measurePercentLoad{EMeasurement::PercentLoad};
inline const EPath measurePowerFactor{EMeasurement::PowerFactor};
inline const EPath measureReactivePower{EMeasurement::ReactivePower};
inline const EPath measureVoltage{EMeasurement::Voltage};
inline const EPath phase1MeasureVoltageLL{ECircuit::Phases, 1u, EMeasurement::VoltageLL};
inline const EPath measureTemperature{EMeasurement::Temperature};
inline const EPath settingForcedRebootDuration{ESetting::ForcedRebootDuration};
inline const EPath statusDelayBeforeSwitchOff{EStatus::DelayBeforeSwitchOff};
inline const EPath statusDelayBeforeSwitchOn{EStatus::DelayBeforeSwitchOn};
inline const EPath output1MeasureCurrent{ECircuit::Outputs, 1u, EMeasurement::Current};
inline const EPath identificationAttributeManufacturer{EProperty::Identification, EAttribute::Manufacturer};
inline const EPath settingVoltageHighDetection{ESetting::VoltageHighDetection};
inline const EPath settingVoltageLowDetection{ESetting::VoltageLowDetection};
inline const EPath input1MeasureVoltage{ECircuit::Inputs, 1u, EMeasurement::Voltage};
inline const EPath input1Phase1MeasureVoltageLL{ECircuit::Inputs, 1u, ECircuit::Phases, 1u, EMeasurement::VoltageLL};
inline const EPath input1StatusWiringFault{ECircuit::Inputs, 1u, EStatus::WiringFault};
inline const EPath input2StatusWiringFault{ECircuit::Inputs, 2u, EStatus::WiringFault};
inline const EPath input2SpecificationVoltageHighCriticalThreshold{ECircuit::Inputs, 2u, ESpecification::VoltageHighCriticalThreshold};
inline const EPath input2SpecificationVoltageLowCriticalThreshold{ECircuit::Inputs, 2u, ESpecification::VoltageLowCriticalThreshold};
inline const EPath specificationPercentLoadHighWarningThreshold{ESpecification::PercentLoadHighWarningThreshold};
// clang-format on

} // namespace velk::powerdistribution::paths
