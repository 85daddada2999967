#pragma once

#include "powerdistribution/connectors/IConnectorFactory.h"

#include <memory>

namespace velk::benchmarks {

/// Connectors that lead nowhere: what a tree costs without the store.
class NowhereConnectors final : public powerdistribution::connectors::IConnectorFactory {
public:
    using ConnectorPtr = powerdistribution::connectors::ConnectorPtr;
    using Uuid = velk::common::Uuid;

    Uuid getRootParentUuid() const override { return Uuid::VELK_NAMESPACE; }
    ConnectorPtr buildConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildAlarmConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildAttributeConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildSpecificationConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildStatusConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildMeasureConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildSettingConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildActionConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildPrivateActionConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildCommunicationStatusConnector(const Uuid&) const override { return make(); }
    ConnectorPtr buildSystemConnector() const override { return make(); }

private:
    class Connector final : public powerdistribution::connectors::IConnector {
        using HandlerData = powerdistribution::handlers::HandlerData;
        using IConnectorListener = powerdistribution::connectors::IConnectorListener;
        using SubscriptionOptions = powerdistribution::connectors::SubscriptionOptions;

        void init() override {}
        void terminate() override {}
        void subscribe(const HandlerData&, IConnectorListener*, const SubscriptionOptions&) override {}
        void unsubscribe(const HandlerData&, IConnectorListener*) override {}
        void load(HandlerData&) const override {}
        void store(const HandlerData&) override {}
        powerdistribution::connectors::TessResources getResourcesInUse() const override { return {}; }
    };

    static ConnectorPtr make() { return std::make_shared<Connector>(); }
};

} // namespace velk::benchmarks
