// The device as a whole: who it is, what it can do, how it is.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/ConcatenatedStringWrapper.h"
#include "powerdistribution/protocols/DerivedValues.h"

#include <array>
#include <utility>

namespace velk::simulator {

using powerdistribution::EAction;
using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::ECommunicationStatus;
using powerdistribution::EPath;
using powerdistribution::EPrivate;
using powerdistribution::EPrivateAction;
using powerdistribution::EProperty;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::protocols::buildCommunicationSince;
using powerdistribution::protocols::buildCommunicationState;
using powerdistribution::protocols::BuildFunc;
using powerdistribution::protocols::ConcatenatedStringWrapper;
using powerdistribution::protocols::Rule;
using powerdistribution::protocols::ValueWrapperPtr;

namespace {

const EPath& identification() {
    static const EPath path{EProperty::Identification};
    return path;
}

// clang-format off
constexpr std::array IDENTITY{
    EAttribute::Uuid,            EAttribute::Manufacturer,    EAttribute::ProductName, EAttribute::SerialNumber,
    EAttribute::Model,           EAttribute::PartNumber,      EAttribute::ReferenceNumber,
    EAttribute::FirmwareVersion, EAttribute::HardwareVersion, EAttribute::Vendor,
    EAttribute::PhysicalName,    EAttribute::FriendlyName,    EAttribute::Location,
    EAttribute::MacAddress,      EAttribute::Ipv4,            EAttribute::Ipv6,
    EAttribute::Count,
};

constexpr std::array DEVICE_RATINGS{
    ESpecification::Topology,              ESpecification::Technology,
    ESpecification::Type,                  ESpecification::Internal,
    ESpecification::ExternalCount,         ESpecification::PowerCycleDuration,
    ESpecification::Switchable,
};

constexpr std::array DEVICE_STATES{
    EStatus::Mode,                 EStatus::LastTestResult,      EStatus::LastTestResultDate,
    EStatus::LastSuccessfulTestDate, EStatus::LcmInstallationDate, EStatus::LcmReplacementDate,
    EStatus::LcmExpired,           EStatus::TestStatus,          EStatus::ShutdownImminent,
    EStatus::CabinetDoorOpen,      EStatus::ModemFault,          EStatus::WatchdogFault,
    EStatus::SyncBusLoss,
};

constexpr std::array DEVICE_SETTINGS{
    ESetting::AudibleAlarmControl,         ESetting::AutomaticRestartLevel,
    ESetting::AutomaticSleepDelay,         ESetting::BypassTransferEnabled,
    ESetting::DeepDischargeProtectionEnabled, ESetting::ForcedTransferEnabled,
    ESetting::FrequencyConverterEnabled,   ESetting::FrequencyDeviationLimit,
    ESetting::HighEfficiencyEnabled,       ESetting::NoStorageModeEnabled,
    ESetting::OutOfToleranceTransferEnabled, ESetting::PercentLoadSleepLimit,
    ESetting::PhaseDeviationLimit,         ESetting::PreferredSource,
    ESetting::RedundancyLevel,             ESetting::SensitivityMode,
    ESetting::Temperature,                 ESetting::UnsynchronousTransferBreakTime,
    ESetting::UnsynchronousTransferPolicy, ESetting::WiringFaultEnabled,
};

constexpr std::array DEVICE_TESTS{EAction::StartTest, EAction::AbortTest};

constexpr std::array PRIVATE_ACTIONS{
    EPrivateAction::ExportKdp,      EPrivateAction::SetDate,        EPrivateAction::SetFirmwareVersion,
    EPrivateAction::SetIpv4Address, EPrivateAction::SetIpv6Address, EPrivateAction::SetMacAddress,
    EPrivateAction::SetProductName,
};
// clang-format on

/// Two attributes as one text.
BuildFunc joined(EAttribute first, EAttribute second) {
    return [one = beside(first),
            other = beside(second)](const Rule::BuildFuncParameters& parameters) -> ValueWrapperPtr {
        auto firstPart = one(parameters);
        auto secondPart = other(parameters);
        if (!firstPart || !secondPart) {
            return nullptr;
        }
        return std::make_unique<ConcatenatedStringWrapper>(std::move(firstPart), std::move(secondPart));
    };
}

void addNetwork(Rows& rows) {
    const EPath connectivity{ECircuit::Connectivity};
    rows.push_back({connectivity, node});
    serve(rows, connectivity, IDENTITY, remembered);
    serve(rows, connectivity, DEVICE_STATES, own);
    // The library tells the device of its host by these, and of nothing else.
    serve(rows, connectivity, PRIVATE_ACTIONS, own);
    addCircuitRows(rows, connectivity);
}

} // namespace

void addDeviceRows(Rows& rows) {
    serve(rows, identification(), IDENTITY, remembered);
    // clang-format off
    const Rows table{
        {identification() + EAttribute::CurrentDate, own},
        {identification() + EAttribute::PhysicalName, joined(EAttribute::ProductName, EAttribute::SerialNumber)},
        // The truth about the link comes from the protocol, whatever the device says.
        {{ECommunicationStatus::State},          buildCommunicationState},
        {{ECommunicationStatus::Since},          buildCommunicationSince},
        {{EStatus::BootloaderMode},              bootloaderMode},
        {{EPrivate::AlarmConfigurationFile},     alarmFile},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
    serve(rows, {}, DEVICE_RATINGS, own);
    serve(rows, {}, DEVICE_STATES, own);
    serve(rows, {}, DEVICE_SETTINGS, setting);
    serve(rows, {}, DEVICE_TESTS, own);
    serve(rows, {}, PRIVATE_ACTIONS, own);
    addSwitchRows(rows, {});
    addCircuitRows(rows, {});
    addNetwork(rows);
}

} // namespace velk::simulator
