// What changes the power on its way: rectifier, inverter, bypass, regulator, transfer switch.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

#include <array>

namespace velk::simulator {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EPath;
using powerdistribution::EPowerConverter;
using powerdistribution::ESetting;
using powerdistribution::EStatus;
using powerdistribution::oneTo;

namespace {

// clang-format off
constexpr std::array CONVERTERS{
    EPowerConverter::Rectifier,         EPowerConverter::DcBus, EPowerConverter::Inverter,
    EPowerConverter::AutomaticBypass,   EPowerConverter::MaintenanceBypass,
    EPowerConverter::Avr,               EPowerConverter::TransferSwitch,
};

constexpr std::array CONVERTER_STATES{
    EStatus::Mode,                        EStatus::DcBusUnbalanced,
    EStatus::DcBusVoltagePositiveTooLow,  EStatus::DcBusVoltagePositiveTooHigh,
    EStatus::DcBusVoltageNegativeTooLow,  EStatus::DcBusVoltageNegativeTooHigh,
    EStatus::DcBoostFault,                EStatus::SyncBusLoss,
};

constexpr std::array CONVERTER_SETTINGS{
    ESetting::PreferredSource,            ESetting::SensitivityMode,
    ESetting::BypassTransferEnabled,      ESetting::ForcedTransferEnabled,
    ESetting::OutOfToleranceTransferEnabled, ESetting::FrequencyConverterEnabled,
    ESetting::FrequencyDeviationLimit,    ESetting::PhaseDeviationLimit,
    ESetting::HighEfficiencyEnabled,      ESetting::UnsynchronousTransferPolicy,
    ESetting::UnsynchronousTransferBreakTime,
};
// clang-format on

} // namespace

void addConverterRows(Rows& rows) {
    const EPath converters{ECircuit::PowerConverters};
    // A node that has no value itself: the library makes it when any wrapper answers for it.
    rows.push_back({converters, node});
    for (const EPowerConverter kind : CONVERTERS) {
        const EPath converter = converters + kind;
        const EPath branches = converter + ECircuit::Branches;
        rows.push_back({converter, node});
        serve(rows, converter, CONVERTER_STATES, own);
        serve(rows, converter, CONVERTER_SETTINGS, setting);
        addCircuitRows(rows, converter);
        addSwitchRows(rows, converter);
        addPhaseRows(rows, converter);
        rows.push_back({branches + EAttribute::Count, remembered});
        addCircuitRows(rows, branches + oneTo(128));
    }
}

} // namespace velk::simulator
