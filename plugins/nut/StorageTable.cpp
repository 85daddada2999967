#include "plugins/nut/Codecs.h"
#include "plugins/nut/Derived.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/Points.h"
#include "plugins/nut/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/DerivedValues.h"

namespace velk::nut {

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
using powerdistribution::protocols::BuildFunc;

namespace {

const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
const EPath chargers = bank + ECircuit::Chargers;
const EPath storageModules = bank + ECircuit::StorageModules;
const EPath module = storageModules + oneTo(MOST_CIRCUITS);

BuildFunc bankState(Compute compute) {
    return onlyWith(hasBattery, computed(std::move(compute)));
}

// clang-format off
void addMeasures(Rows& rows) {
    const Rows table{
        {bank + EMeasurement::StateOfCharge,      computed(stateOfCharge, {"battery.charge", "battery.charge.approx"})},
        {bank + EMeasurement::RemainingTime,      variable({"battery.runtime", "ups.runtime"}, decodeRuntime)},
        {bank + EMeasurement::Voltage,            variable({"battery.voltage"}, decodeNumber)},
        {bank + EMeasurement::Current,            variable({"battery.current", "battery.current.total"}, decodeNumber)},
        {bank + EMeasurement::Temperature,        variable({"battery.temperature"}, decodeTemperature)},
        {bank + EMeasurement::MaxCellVoltage,     variable({"battery.voltage.cell.max"}, decodeNumber)},
        {bank + EMeasurement::MinCellVoltage,     variable({"battery.voltage.cell.min"}, decodeNumber)},
        {bank + EMeasurement::MaxCellTemperature, variable({"battery.temperature.cell.max"}, decodeTemperature)},
        {bank + EMeasurement::MinCellTemperature, variable({"battery.temperature.cell.min"}, decodeTemperature)},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addSpecificationsAndSettings(Rows& rows) {
    const Rows table{
        {bank + ESpecification::VoltageNominal,              variable({"battery.voltage.nominal"}, decodeRatio)},
        {bank + ESpecification::VoltageLowCriticalThreshold, variable({"battery.voltage.low"}, decodeRatio)},
        {bank + ESpecification::VoltageHighWarningThreshold, variable({"battery.voltage.high"}, decodeRatio)},
        {bank + ESpecification::CapacityAhNominal,           variable({"battery.capacity.nominal", "battery.capacity"}, decodeRatio)},
        {bank + ESpecification::StateOfChargeLowWarningThreshold, variable({"battery.charge.warning"}, decodeCharge)},
        {bank + ESpecification::Chemistry,     variable({"battery.type", "battery.chemistry", "ups.devicechemistry"}, decodeChemistry)},
        {bank + ESpecification::Type,          bankState(storageType)},
        {bank + ESpecification::ExternalCount, variable({"battery.packs.external"}, decodeSmallCount)},
        {bank + ESetting::LowRuntimeThreshold,       setting({"battery.runtime.low"}, number())},
        {bank + ESetting::LowStateOfChargeThreshold, setting({"battery.charge.low", "battery.lowbatt"}, percent())},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addStates(Rows& rows) {
    const Rows table{
        {bank + ECommunicationStatus::State, onlyWith(hasBattery, buildCommunicationState)},
        {bank + ECommunicationStatus::Since, onlyWith(hasBattery, buildCommunicationSince)},
        // Served for every device: without it the library would ask a device without battery for the other states.
        {bank + EStatus::StoragePresent,     computed(storagePresence)},
        {bank + EStatus::BmsFailure,         bankState(managementFailure)},
        {bank + EStatus::Supply,             bankState(bankSupply)},
        {bank + EStatus::TestStatus,         bankState(testStatus)},
        {bank + EStatus::NeedService,        bankState(batteryNeedsService)},
        {bank + EStatus::LcmExpired,         bankState(statusWord("RB"))},
        {bank + EStatus::LowStateOfCharge,   bankState(statusWord("LB"))},
        {bank + EStatus::VoltageTooHigh,     bankState(statusWord("HB"))},
        {bank + EStatus::LastTestResult,     variable({"ups.test.result", "battery.test.status"}, decodeTestResult)},
        {bank + EStatus::LastTestResultDate, variable({"ups.test.date"}, decodeDate)},
        {bank + EStatus::LcmInstallationDate, computed(installationDate, {"battery.date", "battery.mfr.date"})},
        {bank + EStatus::LcmReplacementDate, variable({"battery.date.maintenance"}, decodeDate)},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addActions(Rows& rows) {
    using Delay = ActionStep::Delay;
    const Rows table{
        {bank + EAction::StartTest, action({{"test.battery.start.quick", Delay::None, {}},
                                            {"test.battery.start", Delay::None, {}},
                                            {"test.battery.start.deep", Delay::None, {}}})},
        {bank + EAction::AbortTest, action({{"test.battery.stop", Delay::None, {}}})},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addChargersAndModules(Rows& rows) {
    const Rows table{
        {chargers + EAttribute::Count,          structure(counted(chargerCount))},
        {chargers + 1U + EStatus::ChargerStatus, bankState(chargerStatus)},
        {chargers + 1U + EStatus::Supply,        bankState(chargerSupply)},
        {storageModules + EAttribute::Count,    structure(counted(storageModuleCount))},
        {module + EStatus::Supply,              item(storageModuleCount, computed(moduleSupply))},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}
// clang-format on

} // namespace

void addStorageRows(Rows& rows) {
    addMeasures(rows);
    addSpecificationsAndSettings(rows);
    addStates(rows);
    addActions(rows);
    addChargersAndModules(rows);
}

} // namespace velk::nut
