#include "powerdistribution/connectors/TessConnectorFactory.h"

#include "powerdistribution/alarms/AlarmTessConnector.h"
#include "powerdistribution/connectors/ChannelTessConnector.h"
#include "powerdistribution/connectors/DeviceAttributeTessConnector.h"
#include "powerdistribution/connectors/DeviceTessConnector.h"
#include "powerdistribution/connectors/SystemTessConnector.h"

#include <utility>

namespace velk::powerdistribution::connectors {

using velk::common::Uuid;

TessConnectorFactory::TessConnectorFactory(tessapi::ITessAccessor& storeAccessor,
                                           std::shared_ptr<ConnectorContainer> container) :
    accessor{storeAccessor}, connectors{std::move(container)} {}

TessConnectorFactory::~TessConnectorFactory() = default;

template <typename E>
ConnectorPtr TessConnectorFactory::buildChannels(const Uuid& uuid, unsigned int size) const {
    return connectors->add(
        std::make_shared<ChannelTessConnector<E>>(accessor, uuid, size, connectors->traffic()));
}

Uuid TessConnectorFactory::getRootParentUuid() const {
    return accessor.uuidOf(tessapi::ITessAccessor::ROOT_DEVICE);
}

ConnectorPtr TessConnectorFactory::buildConnector(const Uuid& parentUuid) const {
    return connectors->add(
        std::make_shared<DeviceTessConnector>(accessor, parentUuid, connectors->traffic()));
}

ConnectorPtr TessConnectorFactory::buildAlarmConnector(const Uuid& uuid) const {
    return connectors->add(std::make_shared<AlarmTessConnector>(accessor, uuid));
}

ConnectorPtr TessConnectorFactory::buildAttributeConnector(const Uuid& uuid) const {
    return connectors->add(
        std::make_shared<DeviceAttributeTessConnector>(accessor, uuid, connectors->traffic()));
}

ConnectorPtr TessConnectorFactory::buildSpecificationConnector(const Uuid& uuid) const {
    return buildChannels<ESpecification>(uuid, 50);
}

ConnectorPtr TessConnectorFactory::buildStatusConnector(const Uuid& uuid) const {
    return buildChannels<EStatus>(uuid, 102);
}

ConnectorPtr TessConnectorFactory::buildMeasureConnector(const Uuid& uuid) const {
    return buildChannels<EMeasurement>(uuid, 37);
}

ConnectorPtr TessConnectorFactory::buildSettingConnector(const Uuid& uuid) const {
    return buildChannels<ESetting>(uuid, 45);
}

ConnectorPtr TessConnectorFactory::buildActionConnector(const Uuid& uuid) const {
    return buildChannels<EAction>(uuid, 8);
}

ConnectorPtr TessConnectorFactory::buildPrivateActionConnector(const Uuid& uuid) const {
    return buildChannels<EPrivateAction>(uuid, 7);
}

ConnectorPtr TessConnectorFactory::buildCommunicationStatusConnector(const Uuid& uuid) const {
    return buildChannels<ECommunicationStatus>(uuid, 2);
}

ConnectorPtr TessConnectorFactory::buildSystemConnector() const {
    return connectors->add(std::make_shared<SystemTessConnector>(accessor));
}

void TessConnectorFactory::inGroups(const std::function<void()>& work) const {
    connectors->traffic()->writes.run(accessor.inbandAccessor(), work);
}

} // namespace velk::powerdistribution::connectors
