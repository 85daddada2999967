#pragma once

#include "platform/common/Export.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"

namespace velk::powerdistribution::connectors {

/// Makes the connectors of a device. Every call makes a new one. The order of the operations is contract.
class VELK_EXPORT IConnectorFactory {
public:
    virtual ~IConnectorFactory();

    /// The Uuid of the store's root device.
    virtual velk::common::Uuid getRootParentUuid() const = 0;

    /// The device itself. Takes the Uuid of the device above it; every other operation takes the node's own.
    virtual ConnectorPtr buildConnector(const velk::common::Uuid& parentUuid) const = 0;
    virtual ConnectorPtr buildAlarmConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildAttributeConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildSpecificationConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildStatusConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildMeasureConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildSettingConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildActionConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildPrivateActionConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildCommunicationStatusConnector(const velk::common::Uuid& uuid) const = 0;
    virtual ConnectorPtr buildSystemConnector() const = 0;
};

} // namespace velk::powerdistribution::connectors
