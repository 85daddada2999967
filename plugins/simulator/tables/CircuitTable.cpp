// What every circuit may have: an input, an output, a branch, an outlet, a converter, and each phase of them.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/DerivedValues.h"

#include <array>

namespace velk::simulator {

using powerdistribution::EAction;
using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::oneTo;
using powerdistribution::protocols::buildEmulatedVoltageOutOfRange;
using powerdistribution::protocols::buildSupplierEmulatedSupply;
using powerdistribution::protocols::div;
using powerdistribution::protocols::hasVoltageLLMeasure;
using powerdistribution::protocols::make_if;
using powerdistribution::protocols::mult;
using powerdistribution::protocols::multWithPercent;
using powerdistribution::protocols::posSub;

namespace {

// clang-format off
constexpr std::array VOLTAGES{
    EMeasurement::Voltage,        EMeasurement::VoltageLL,      EMeasurement::VoltageTHD,
    EMeasurement::Frequency,      EMeasurement::Phase,
};

constexpr std::array CURRENTS{
    EMeasurement::Current,        EMeasurement::CurrentAvailable, EMeasurement::CurrentTHD,
    EMeasurement::NeutralCurrent, EMeasurement::LeakageCurrent,   EMeasurement::PeakFactor,
};

constexpr std::array POWERS{
    EMeasurement::ActivePower,    EMeasurement::ActivePowerAvailable,
    EMeasurement::ApparentPower,  EMeasurement::ApparentPowerAvailable,
    EMeasurement::ReactivePower,  EMeasurement::ReactivePowerAvailable,
    EMeasurement::PowerFactor,    EMeasurement::PercentLoad,
    EMeasurement::Efficiency,     EMeasurement::Temperature,
};

constexpr std::array ENERGIES{
    EMeasurement::AverageEnergy,          EMeasurement::CumulatedEnergy,
    EMeasurement::EnergyDaily,            EMeasurement::EnergyMonthly,
    EMeasurement::EnergyYearly,           EMeasurement::PartialCumulatedEnergy,
    EMeasurement::TotalCumulatedEnergy,   EMeasurement::PartialCumulatedEnergyStartDate,
};

constexpr std::array CIRCUIT_RATINGS{
    ESpecification::VoltageNominal,       ESpecification::VoltageLLNominal,
    ESpecification::VoltageRange,         ESpecification::VoltageMinReading,
    ESpecification::VoltageMaxReading,    ESpecification::VoltageHysteresisDetection,
    ESpecification::VoltageLowCriticalThreshold, ESpecification::VoltageLowWarningThreshold,
    ESpecification::VoltageHighWarningThreshold, ESpecification::VoltageHighCriticalThreshold,
    ESpecification::VoltageLowDeratedDetection,
    ESpecification::CurrentNominal,       ESpecification::CurrentMinReading,
    ESpecification::CurrentMaxReading,    ESpecification::CurrentHighWarningThreshold,
    ESpecification::FrequencyNominal,     ESpecification::FrequencyMinReading,
    ESpecification::FrequencyMaxReading,  ESpecification::FrequencyLowCriticalThreshold,
    ESpecification::FrequencyHighCriticalThreshold,
    ESpecification::ActivePowerNominal,   ESpecification::ActivePowerMinReading,
    ESpecification::ActivePowerMaxReading, ESpecification::ActivePowerHighWarningThreshold,
    ESpecification::ApparentPowerNominal, ESpecification::ApparentPowerMinReading,
    ESpecification::ApparentPowerMaxReading, ESpecification::ApparentPowerHighWarningThreshold,
    ESpecification::PercentLoadMinReading, ESpecification::PercentLoadMaxReading,
    ESpecification::PercentLoadHighWarningThreshold,
    ESpecification::PowerFactorMinReading, ESpecification::PowerFactorMaxReading,
    ESpecification::TemperatureMinReading, ESpecification::TemperatureMaxReading,
    ESpecification::Feed,                 ESpecification::Type,
    ESpecification::Technology,           ESpecification::Internal,
    ESpecification::TrippedVoltageThreshold, ESpecification::ConnectorType,
};

constexpr std::array CIRCUIT_LIMITS{
    ESetting::NominalVoltage,
    ESetting::VoltageLowCriticalThreshold,    ESetting::VoltageLowWarningThreshold,
    ESetting::VoltageHighWarningThreshold,    ESetting::VoltageHighCriticalThreshold,
    ESetting::VoltageLowDetection,            ESetting::VoltageHighDetection,
    ESetting::CurrentLowCriticalThreshold,    ESetting::CurrentLowWarningThreshold,
    ESetting::CurrentHighWarningThreshold,    ESetting::CurrentHighCriticalThreshold,
    ESetting::FrequencyLowCriticalThreshold,  ESetting::FrequencyHighCriticalThreshold,
    ESetting::TemperatureLowCriticalThreshold, ESetting::TemperatureHighWarningThreshold,
    ESetting::TemperatureHighCriticalThreshold,
};

// No `OperatingStatus` and no `HealthState`: the library computes them, and a second publisher would make their
// channels flap.
constexpr std::array CIRCUIT_STATES{
    EStatus::Supplied,            EStatus::Supply,               EStatus::SupplierPowerQuality,
    EStatus::InRange,             EStatus::Used,                 EStatus::Present,
    EStatus::SwitchedOn,          EStatus::Source,               EStatus::State,
    EStatus::VoltageTooLow,       EStatus::VoltageTooHigh,       EStatus::VoltageOutOfRange,
    EStatus::VoltageDerated,      EStatus::VoltageDcOffsetTooHigh, EStatus::InvalidWaveform,
    EStatus::FrequencyOutOfRange, EStatus::PhaseOutOfRange,      EStatus::Unbalanced,
    EStatus::CurrentTooHigh,      EStatus::OverCurrent,          EStatus::NegativeCurrent,
    EStatus::CurrentLimitation,   EStatus::ShortCircuit,         EStatus::PreOverload,
    EStatus::Overload,            EStatus::CriticalOverload,     EStatus::ThermalOverload,
    EStatus::BreakerTripped,      EStatus::FuseFault,            EStatus::GroundFault,
    EStatus::WiringFault,         EStatus::WiringFaultPhaseNeutralInversion,
    EStatus::WiringFaultPhaseRotation, EStatus::OnGenerator,     EStatus::OnBoost,
    EStatus::OnBuck,              EStatus::TemperatureTooLow,    EStatus::TemperatureTooHigh,
    EStatus::TemperatureOutOfRange, EStatus::InternalFailure,    EStatus::MeasureFault,
    EStatus::CommunicationFault,  EStatus::ConfigurationFault,   EStatus::CompatibilityFault,
    EStatus::PowerSupplyFault,    EStatus::FanFault,             EStatus::NeedService,
    EStatus::RedundancyLoss,      EStatus::Redundant,            EStatus::Parallel,
    EStatus::Since,
};

constexpr std::array CIRCUIT_NAMES{
    EAttribute::PhysicalName, EAttribute::FriendlyName, EAttribute::Location, EAttribute::Model,
    EAttribute::SerialNumber, EAttribute::PartNumber,   EAttribute::FirmwareVersion,
    EAttribute::HardwareVersion,
};

constexpr std::array SWITCH_SETTINGS{
    ESetting::AutomaticSwitchOnDelay, ESetting::AutomaticSwitchOffDelay, ESetting::ForcedRebootDuration,
    ESetting::ForcedRebootEnabled,    ESetting::AutomaticRestartEnabled, ESetting::RemoteControlEnabled,
    ESetting::LowStateOfChargeThreshold, ESetting::LowRuntimeThreshold,
};

constexpr std::array SWITCH_STATES{
    EStatus::DelayBeforeSwitchOff, EStatus::DelayBeforeSwitchOn, EStatus::ShutdownPending,
    EStatus::StartupPending,       EStatus::EmergencySwitchOff,
};

constexpr std::array SWITCH_ACTIONS{
    EAction::SwitchOn,            EAction::SwitchOff,            EAction::SwitchOffWithAutoRestart,
    EAction::CancelSwitchOn,      EAction::CancelSwitchOff,      EAction::CancelSwitchOffWithAutoRestart,
};

/// What the device does not tell itself and what follows from what it tells. A path may stand in several rows:
/// the first that gives a wrapper wins, so these rows come behind the device's own.
void addDerivedRows(Rows& rows, const EPath& circuit) {
    const auto square3 = 1.7320508F;
    const Rows derived{
        {circuit + EMeasurement::CurrentAvailable,
            posSub(beside(ESpecification::CurrentNominal), beside(EMeasurement::Current))},
        {circuit + EMeasurement::ActivePowerAvailable,
            posSub(beside(ESpecification::ActivePowerNominal), beside(EMeasurement::ActivePower))},
        {circuit + EMeasurement::ApparentPowerAvailable,
            posSub(beside(ESpecification::ApparentPowerNominal), beside(EMeasurement::ApparentPower))},
        // A share of 1 is 100 %.
        {circuit + EMeasurement::PercentLoad,
            mult(div(beside(EMeasurement::ActivePower), beside(ESpecification::ActivePowerNominal)), 100.0F)},
        // Devices tell the voltage of a phase; between two phases it is as much higher.
        {circuit + ESpecification::VoltageLLNominal,
            make_if(hasVoltageLLMeasure, mult(beside(ESpecification::VoltageNominal), square3))},
        {circuit + ESpecification::ActivePowerHighWarningThreshold,
            multWithPercent(beside(ESpecification::ActivePowerNominal), beside(ESpecification::PercentLoadHighWarningThreshold))},
        {circuit + EStatus::VoltageOutOfRange, whileConnected(buildEmulatedVoltageOutOfRange)},
        {circuit + EStatus::Supply,            buildSupplierEmulatedSupply},
    };
    rows.insert(rows.end(), derived.begin(), derived.end());
}
// clang-format on

} // namespace

void addCircuitRows(Rows& rows, const EPath& circuit) {
    serve(rows, circuit, VOLTAGES, own);
    serve(rows, circuit, CURRENTS, own);
    serve(rows, circuit, POWERS, own);
    serve(rows, circuit, ENERGIES, own);
    serve(rows, circuit, CIRCUIT_RATINGS, own);
    serve(rows, circuit, CIRCUIT_STATES, own);
    serve(rows, circuit, CIRCUIT_NAMES, remembered);
    serve(rows, circuit, CIRCUIT_LIMITS, setting);
    // The device itself is no circuit, it only tells of some things as if it were one.
    if (!circuit.empty()) {
        addDerivedRows(rows, circuit);
    }
}

void addPhaseRows(Rows& rows, const EPath& circuit) {
    const EPath phase = circuit + ECircuit::Phases + oneTo(3);
    rows.push_back({circuit + ECircuit::Phases + EAttribute::Count, remembered});
    addCircuitRows(rows, phase);
    // A single-phase device that does not tell its phase apart from the circuit.
    serve(rows, phase, std::array{EMeasurement::Frequency}, ofOwner(EMeasurement::Frequency));
    serve(rows, phase, std::array{EMeasurement::Voltage}, ofOwner(EMeasurement::Voltage));
}

void addSwitchRows(Rows& rows, const EPath& circuit) {
    serve(rows, circuit, SWITCH_SETTINGS, setting);
    serve(rows, circuit, SWITCH_STATES, own);
    serve(rows, circuit, SWITCH_ACTIONS, own);
}

} // namespace velk::simulator
