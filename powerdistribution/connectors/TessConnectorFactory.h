#pragma once

#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/connectors/ConnectorContainer.h"
#include "powerdistribution/connectors/IConnectorFactory.h"
#include "powerdistribution/connectors/IGroupingFactory.h"

#include <functional>
#include <memory>

namespace velk::powerdistribution::connectors {

/// Makes connectors to the store. Every call makes a new one and enters it in the container; `init` is left
/// to the caller. Threads: any.
class TessConnectorFactory final : public IConnectorFactory, public IGroupingFactory {
public:
    /// `accessor` outlives this object and every connector.
    TessConnectorFactory(tessapi::ITessAccessor& accessor, std::shared_ptr<ConnectorContainer> connectors);
    ~TessConnectorFactory() override;

    velk::common::Uuid getRootParentUuid() const override;
    ConnectorPtr buildConnector(const velk::common::Uuid& parentUuid) const override;
    ConnectorPtr buildAlarmConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildAttributeConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildSpecificationConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildStatusConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildMeasureConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildSettingConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildActionConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildPrivateActionConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildCommunicationStatusConnector(const velk::common::Uuid& uuid) const override;
    ConnectorPtr buildSystemConnector() const override;

    void inGroups(const std::function<void()>& work) const override;

private:
    template <typename E>
    ConnectorPtr buildChannels(const velk::common::Uuid& uuid, unsigned int size) const;

    tessapi::ITessAccessor& accessor;
    const std::shared_ptr<ConnectorContainer> connectors;
};

} // namespace velk::powerdistribution::connectors
