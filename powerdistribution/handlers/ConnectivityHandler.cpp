#include "powerdistribution/handlers/ConnectivityHandler.h"

#include "powerdistribution/handlers/HandlerGenerators.h"
#include "powerdistribution/handlers/WOValueHandler.h"

namespace velk::powerdistribution::handlers {

namespace {

constexpr bool CHANGES_ONLY = false;
constexpr bool INITIAL_VALUE = true;

} // namespace

ConnectivityHandler::ConnectivityHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                                         const Factories& factories) :
    GenericHandler{path, parentUuid, factories} {
    const connectors::ConnectorPtr connector = factories.connectorFactory.buildSystemConnector();
    generateHandlersFromEnum<EPrivateAction, WOValueHandler>(path, connector, factories, CHANGES_ONLY,
                                                             INITIAL_VALUE);
}

ConnectivityHandler::~ConnectivityHandler() = default;

} // namespace velk::powerdistribution::handlers
