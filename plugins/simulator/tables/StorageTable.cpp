// The backup system: the bank, its chargers and its modules.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/DerivedValues.h"

#include <array>

namespace velk::simulator {

using powerdistribution::EAction;
using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::ECommunicationStatus;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::oneTo;
using powerdistribution::protocols::buildCommunicationSince;
using powerdistribution::protocols::buildCommunicationState;
using powerdistribution::protocols::make_if;
using powerdistribution::protocols::mult;

namespace {

// clang-format off
constexpr std::array STORAGE_MEASURES{
    EMeasurement::StateOfCharge,       EMeasurement::StateOfHealth,       EMeasurement::RemainingTime,
    EMeasurement::CyclesCount,         EMeasurement::MaxCellVoltage,      EMeasurement::MinCellVoltage,
    EMeasurement::MaxCellTemperature,  EMeasurement::MinCellTemperature,
};

constexpr std::array STORAGE_RATINGS{
    ESpecification::CapacityAhNominal, ESpecification::CapacityWhNominal, ESpecification::Chemistry,
    ESpecification::ExternalCount,     ESpecification::VoltageFloating,
    ESpecification::StateOfChargeLowWarningThreshold,
};

// `BmsFailure` is a number, not a bool; a device with a battery serves it, or every look of the library at the
// bank leaves a line on the standard error.
constexpr std::array STORAGE_STATES{
    EStatus::BmsFailure,               EStatus::StoragePresent,           EStatus::ChargerStatus,
    EStatus::Depleted,                 EStatus::LowRuntime,               EStatus::LowStateOfCharge,
    EStatus::CriticalLowStateOfCharge, EStatus::LowStateOfHealth,         EStatus::TestStatus,
    EStatus::LastTestResult,           EStatus::LastTestResultDate,       EStatus::LastSuccessfulTestDate,
    EStatus::LcmInstallationDate,      EStatus::LcmReplacementDate,       EStatus::LcmExpired,
    EStatus::Mode,                     EStatus::WatchdogFault,
};

constexpr std::array STORAGE_SETTINGS{
    ESetting::LowStateOfChargeThreshold,      ESetting::LowRuntimeThreshold,
    ESetting::DeepDischargeProtectionEnabled, ESetting::NoStorageModeEnabled,
    ESetting::Temperature,                    ESetting::AutomaticRestartLevel,
};

constexpr std::array STORAGE_TESTS{EAction::StartTest, EAction::AbortTest};
// clang-format on

/// What the bank and each part of it may have.
void addStorageNode(Rows& rows, const EPath& place) {
    serve(rows, place, STORAGE_MEASURES, own);
    serve(rows, place, STORAGE_RATINGS, own);
    serve(rows, place, STORAGE_STATES, own);
    serve(rows, place, STORAGE_SETTINGS, setting);
    serve(rows, place, STORAGE_TESTS, own);
    addCircuitRows(rows, place);
    // The energy is the charge at the nominal voltage.
    rows.push_back({place + ESpecification::CapacityWhNominal,
                    mult(beside(ESpecification::CapacityAhNominal), beside(ESpecification::VoltageNominal))});
}

} // namespace

void addStorageRows(Rows& rows) {
    const EPath system{ECircuit::BackupSystem};
    const EPath bank = system + ECircuit::PowerBank;
    addStorageNode(rows, system);
    addStorageNode(rows, bank);
    // The bank is reached over the device's own link.
    rows.push_back({bank + ECommunicationStatus::State,
                    make_if(beside(EStatus::StoragePresent), buildCommunicationState)});
    rows.push_back({bank + ECommunicationStatus::Since,
                    make_if(beside(EStatus::StoragePresent), buildCommunicationSince)});
    for (const ECircuit kind : {ECircuit::Chargers, ECircuit::StorageModules}) {
        const EPath parts = bank + kind;
        rows.push_back({parts + EAttribute::Count, remembered});
        addStorageNode(rows, parts + oneTo(128));
        addPhaseRows(rows, parts + oneTo(128));
    }
}

} // namespace velk::simulator
