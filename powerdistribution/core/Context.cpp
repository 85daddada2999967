#include "powerdistribution/core/Context.h"

#include "powerdistribution/connectors/TessDatabaseManager.h"
#include "powerdistribution/protocols/ProxyWrapperFactory.h"

namespace velk::powerdistribution {

Context::Context() :
    databaseManager{std::make_unique<connectors::TessDatabaseManager>("PowerDistributionManager")},
    wrapperFactory{std::make_shared<protocols::ProxyWrapperFactory>()},
    serviceStateWrapper{wrapperFactory->buildWrapper({ECircuit::PowerEquipment, EStatus::OperatingStatus})} {}

Context::~Context() = default;

void Context::onCommunicationLost() {
    communicationLost = true;
}

void Context::onCommunicationRecovered() {
    communicationLost = false;
}

} // namespace velk::powerdistribution
