#include "powerdistribution/handlers/HandlerGenerators.h"

#include "powerdistribution/handlers/RWValueHandler.h"
#include "powerdistribution/handlers/WOValueHandler.h"

namespace velk::powerdistribution::handlers {

namespace {

constexpr bool EVERY_UPDATE = true;
constexpr bool NO_INITIAL_VALUE = false;

} // namespace

void generateSettingHandlers(const EPath& path, const connectors::ConnectorPtr& connector,
                             const Factories& factories) {
    generateHandlersFromEnum<ESetting, RWValueHandler>(path, connector, factories, NO_INITIAL_VALUE);
}

void generateActionHandlers(const EPath& path, const connectors::ConnectorPtr& connector,
                            const Factories& factories) {
    generateHandlersFromEnum<EAction, WOValueHandler>(path, connector, factories, EVERY_UPDATE,
                                                      NO_INITIAL_VALUE);
}

void generatePrivateActionHandlers(const EPath& path, const connectors::ConnectorPtr& connector,
                                   const Factories& factories) {
    generateHandlersFromEnum<EPrivateAction, WOValueHandler>(path, connector, factories, EVERY_UPDATE,
                                                             NO_INITIAL_VALUE);
}

bool isServed(const EPath& path, const Factories& factories) {
    return factories.wrapperFactory.buildWrapper(path) != nullptr;
}

} // namespace velk::powerdistribution::handlers
