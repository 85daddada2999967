#include "powerdistribution/handlers/GenericHandler.h"

#include "powerdistribution/handlers/HandlerGenerators.h"
#include "powerdistribution/handlers/HealthStateHandler.h"

namespace velk::powerdistribution::handlers {

using velk::common::Uuid;

GenericHandler::GenericHandler(const EPath& path, const Uuid& parentUuid, const Factories& factories) :
    BaseHandler{path},
    connector{factories.connectorFactory.buildConnector(parentUuid)},
    uuidData{path, Value{Uuid{parentUuid, path.nodesToString()}}, {}} {
    connector->store(uuidData);
    factories.dataModel->emplace(std::make_shared<HealthStateHandler>(path, uuid(), factories));
    generateDataPoints(factories);
}

GenericHandler::~GenericHandler() = default;

const Uuid& GenericHandler::uuid() const {
    return uuidData.value.get<Uuid>();
}

void GenericHandler::generateDataPoints(const Factories& factories) const {
    const connectors::IConnectorFactory& connect = factories.connectorFactory;
    generateHandlersFromEnum<EAttribute>(epath(), connect.buildAttributeConnector(uuid()), factories);
    generateHandlersFromEnum<ESpecification>(epath(), connect.buildSpecificationConnector(uuid()), factories);
    generateHandlersFromEnum<EStatus>(epath(), connect.buildStatusConnector(uuid()), factories);
    generateHandlersFromEnum<EMeasurement>(epath(), connect.buildMeasureConnector(uuid()), factories);
    generateSettingHandlers(epath(), connect.buildSettingConnector(uuid()), factories);
    generateActionHandlers(epath(), connect.buildActionConnector(uuid()), factories);
}

} // namespace velk::powerdistribution::handlers
