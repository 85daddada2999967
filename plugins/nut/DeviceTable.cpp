#include "plugins/nut/Codecs.h"
#include "plugins/nut/Derived.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/PluginIdentity.h"
#include "plugins/nut/Points.h"
#include "plugins/nut/Tables.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/DerivedValues.h"

namespace velk::nut {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::ECommunicationStatus;
using powerdistribution::EPrivate;
using powerdistribution::EProperty;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::protocols::buildCommunicationSince;
using powerdistribution::protocols::buildCommunicationState;

namespace {

constexpr auto Id = EProperty::Identification;

// clang-format off
void addIdentification(Rows& rows) {
    const Rows table{
        {{Id, EAttribute::Manufacturer},    identity(MANUFACTURER_NAMES, decodeText)},
        {{Id, EAttribute::ProductName},     identity(MODEL_NAMES, decodeText)},
        {{Id, EAttribute::Model},           identity(MODEL_NAMES, decodeText)},
        {{Id, EAttribute::SerialNumber},    identity(SERIAL_NAMES, decodeSerialNumber)},
        {{Id, EAttribute::PartNumber},      identity({"device.part"}, decodeText)},
        {{Id, EAttribute::MacAddress},      identity({"device.macaddr", "ups.macaddr"}, decodeMacAddress)},
        {{Id, EAttribute::Location},        identity({"device.location"}, decodeText)},
        {{Id, EAttribute::PhysicalName},    identity({"device.description", "ups.description", "ups.id"}, decodeText)},
        {{Id, EAttribute::FriendlyName},    changeableSetting("ups.id", {decodeText, {}, {}})},
        {{Id, EAttribute::FirmwareVersion}, identity({"ups.firmware"}, decodeText)},
        {{Id, EAttribute::CurrentDate},     computed(currentDate, {"ups.date"})},
        {{Id, EAttribute::Uuid},            lastResortUuid()},
        {{ECircuit::Connectivity, EAttribute::FirmwareVersion}, identity({"ups.firmware.aux"}, decodeText)},
        {{EPrivate::AlarmConfigurationFile}, alarmFile()},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addStates(Rows& rows) {
    const Rows table{
        {{ECommunicationStatus::State},     buildCommunicationState},
        {{ECommunicationStatus::Since},     buildCommunicationSince},
        {{EStatus::Mode},                   computed(operatingMode, {"ups.status", "input.source"})},
        {{EStatus::ShutdownImminent},       computed(shutdownImminent, {"ups.status"})},
        {{EStatus::InternalFailure},        computed(internalFailure, {"ups.status"})},
        {{ESpecification::Topology},        computed(topology, {"ups.type", "ups.mode"})},
        {{ESpecification::ApparentPowerNominal},
            variable({"ups.power.nominal", "output.power.nominal", "ups.upspower.nominal"}, decodeRatio)},
        {{ESpecification::ActivePowerNominal},
            variable({"ups.realpower.nominal", "output.realpower.nominal"}, decodeRatio)},
        {{ESpecification::VoltageHysteresisDetection}, variable({"input.transfer.hysteresis"}, decodeRatio)},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}

void addSettings(Rows& rows) {
    const Rows table{
        {{ESetting::AudibleAlarmControl},    setting({"ups.beeper.status", "beeper.status", "ups.beeper.enable"}, beeper())},
        {{ESetting::AutomaticRestartEnabled}, setting({"ups.start.auto"}, flag())},
        {{ESetting::AutomaticRestartLevel},  setting({"battery.charge.restart"}, percent())},
        {{ESetting::AutomaticSleepDelay},    setting({"battery.energysave.delay"}, delay())},
        {{ESetting::BypassTransferEnabled},  setting({"input.bypass.switchable"}, flag())},
        {{ESetting::DeepDischargeProtectionEnabled}, setting({"battery.protection"}, flag())},
        {{ESetting::ForcedRebootEnabled},    setting({"ups.start.reboot"}, flag())},
        {{ESetting::ForcedTransferEnabled},  setting({"input.transfer.bypass.forced"}, flag())},
        {{ESetting::FrequencyDeviationLimit}, setting({"input.transfer.frequency.bypass.range"}, percent())},
        {{ESetting::HighEfficiencyEnabled},  setting({"input.eco.switchable"}, flag())},
        {{ESetting::OutOfToleranceTransferEnabled}, setting({"input.transfer.bypass.outlimits"}, flag())},
        {{ESetting::PercentLoadSleepLimit},  setting({"battery.energysave.load"}, percent())},
        {{ESetting::PreferredSource},        setting({"input.source.preferred"}, source())},
        {{ESetting::RemoteControlEnabled},   setting({"ups.shutdown"}, flag())},
        {{ESetting::SensitivityMode},        setting({"input.sensitivity"}, sensitivity())},
    };
    rows.insert(rows.end(), table.begin(), table.end());
}
// clang-format on

} // namespace

void addDeviceRows(Rows& rows) {
    addIdentification(rows);
    addStates(rows);
    addSettings(rows);
}

} // namespace velk::nut
