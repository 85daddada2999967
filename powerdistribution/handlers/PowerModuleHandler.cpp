#include "powerdistribution/handlers/PowerModuleHandler.h"

namespace velk::powerdistribution::handlers {

PowerModuleHandler::PowerModuleHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                                       const Factories& factories) :
    GenericHandler{path, parentUuid, factories} {
    factories.dataModel->emplace(
        std::make_shared<GenericHandler>(path + ECircuit::Synchroniser, uuid(), factories));
}

PowerModuleHandler::~PowerModuleHandler() = default;

} // namespace velk::powerdistribution::handlers
