#include "powerdistribution/handlers/PowerDistributionHandler.h"

#include "powerdistribution/core/DeviceIdentifier.h"
#include "powerdistribution/handlers/BackupSystemHandler.h"
#include "powerdistribution/handlers/CircuitHandler.h"
#include "powerdistribution/handlers/CollectionHandler.h"
#include "powerdistribution/handlers/CommunicationStatusHandler.h"
#include "powerdistribution/handlers/ConnectivityHandler.h"
#include "powerdistribution/handlers/HandlerGenerators.h"
#include "powerdistribution/handlers/HealthStateHandler.h"
#include "powerdistribution/handlers/InternalLogsHandler.h"
#include "powerdistribution/handlers/PowerConvertersHandler.h"
#include "powerdistribution/handlers/PowerModuleHandler.h"
#include "powerdistribution/handlers/makeStatusHandler.h"

namespace velk::powerdistribution::handlers {

using velk::common::Uuid;

PowerDistributionHandler::PowerDistributionHandler(const EPath& path, const Uuid& parentUuid,
                                                   const Factories& factories) :
    BaseHandler{path + ECircuit::PowerDistribution},
    uuidData{epath(), Value{getDeviceUuid(factories.wrapperFactory)}, {}} {
    connector = factories.connectorFactory.buildConnector(parentUuid);
    resolveUuid(factories);
    factories.dataModel->emplace(makeStatusHandler(epath() + EStatus::OperatingStatus, uuid(), factories));
    emplace<HealthStateHandler>(epath(), factories);
    generateDataPoints(path, factories);
    emplace<CommunicationStatusHandler>(path, factories);
    emplaceCircuits(path, factories);
    emplaceIfServed<PowerModuleHandler>(path + ECircuit::PowerModules, factories);
    emplaceIfServed<PowerConvertersHandler>(path + ECircuit::PowerConverters, factories);
    emplacePrivateActions(path, factories);
    emplace<BackupSystemHandler>(path + ECircuit::BackupSystem, factories);
    emplace<ConnectivityHandler>(path + ECircuit::Connectivity, factories);
    emplace<InternalLogsHandler>(path + EPrivate::InternalLogs, factories);
    emplaceIfServed<GenericHandler>(path + ECircuit::Environment, factories);
}

PowerDistributionHandler::~PowerDistributionHandler() = default;

void PowerDistributionHandler::resolveUuid(const Factories& factories) {
    if (uuid().isNil() || isBootloaderMode(factories.wrapperFactory)) {
        connector->load(uuidData);
        return;
    }
    connector->store(uuidData);
}

const Uuid& PowerDistributionHandler::uuid() const {
    return uuidData.value.get<Uuid>();
}

void PowerDistributionHandler::generateDataPoints(const EPath& path, const Factories& factories) const {
    const connectors::IConnectorFactory& connect = factories.connectorFactory;
    generateHandlersFromEnum<EAttribute>(path + EProperty::Identification,
                                         connect.buildAttributeConnector(uuid()), factories);
    generateHandlersFromEnum<ESpecification>(path, connect.buildSpecificationConnector(uuid()), factories);
    generateHandlersFromEnum<EStatus>(path, connect.buildStatusConnector(uuid()), factories);
    generateSettingHandlers(path, connect.buildSettingConnector(uuid()), factories);
    generateActionHandlers(path, connect.buildActionConnector(uuid()), factories);
}

void PowerDistributionHandler::emplaceCircuits(const EPath& path, const Factories& factories) const {
    using Circuits = CollectionHandler<CircuitHandler>;
    for (const ECircuit kind : {ECircuit::Inputs, ECircuit::Outputs, ECircuit::Branches, ECircuit::Outlets}) {
        factories.dataModel->emplace<Circuits>(path + kind, uuid(), factories);
    }
}

void PowerDistributionHandler::emplacePrivateActions(const EPath& path, const Factories& factories) const {
    generatePrivateActionHandlers(path, factories.connectorFactory.buildPrivateActionConnector(uuid()),
                                  factories);
}

template <typename T>
void PowerDistributionHandler::emplace(const EPath& path, const Factories& factories) const {
    factories.dataModel->emplace(std::make_shared<T>(path, uuid(), factories));
}

template <typename T>
void PowerDistributionHandler::emplaceIfServed(const EPath& path, const Factories& factories) const {
    if (isServed(path, factories)) {
        emplace<T>(path, factories);
    }
}

} // namespace velk::powerdistribution::handlers
