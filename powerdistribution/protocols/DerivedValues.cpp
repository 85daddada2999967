#include "powerdistribution/protocols/DerivedValues.h"

#include "powerdistribution/protocols/CommunicationSinceWrapper.h"
#include "powerdistribution/protocols/CommunicationStateWrapper.h"
#include "powerdistribution/protocols/DeviceEmulatedOperatingStatus.h"
#include "powerdistribution/protocols/SupplierEmulatedSupplyWrapper.h"
#include "powerdistribution/protocols/VoltageOutOfRangeConverter.h"

#include <memory>
#include <stdexcept>
#include <utility>

namespace velk::powerdistribution::protocols {

ValueWrapperPtr buildCommunicationState(const Rule::BuildFuncParameters& parameters) {
    return std::make_unique<CommunicationStateWrapper>(parameters.protocol);
}

ValueWrapperPtr buildCommunicationSince(const Rule::BuildFuncParameters& parameters) {
    return std::make_unique<CommunicationSinceWrapper>(parameters.protocol);
}

ValueWrapperPtr buildDeviceEmulatedOperatingStatus(const Rule::BuildFuncParameters& parameters) {
    auto mode = parameters.factory.buildWrapper({EStatus::Mode});
    return mode ? std::make_unique<DeviceEmulatedOperatingStatus>(std::move(mode)) : nullptr;
}

ValueWrapperPtr buildSupplierEmulatedSupply(const Rule::BuildFuncParameters& parameters) {
    auto quality = parameters.factory.buildWrapper(parameters.path.parent() + EStatus::SupplierPowerQuality);
    return quality ? std::make_unique<SupplierEmulatedSupplyWrapper>(std::move(quality)) : nullptr;
}

ValueWrapperPtr buildEmulatedVoltageOutOfRange(const Rule::BuildFuncParameters& parameters) {
    if (parameters.path.size() < 2) {
        throw std::invalid_argument{"Invalid argument: epath depth 2 at least expected"};
    }
    const EPath parent = parameters.path.parent();
    auto high = parameters.factory.buildWrapper(parent + EStatus::VoltageTooHigh);
    auto low = parameters.factory.buildWrapper(parent + EStatus::VoltageTooLow);
    if (!high || !low) {
        return nullptr;
    }
    return std::make_unique<VoltageOutOfRangeConverter>(std::move(high), std::move(low));
}

} // namespace velk::powerdistribution::protocols
