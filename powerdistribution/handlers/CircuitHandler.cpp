#include "powerdistribution/handlers/CircuitHandler.h"

#include "powerdistribution/handlers/emplacePhasesCollection.h"

namespace velk::powerdistribution::handlers {

CircuitHandler::CircuitHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                               const Factories& factories) :
    GenericHandler{path, parentUuid, factories} {
    emplacePhasesCollection(path + ECircuit::Phases, uuid(), factories);
}

CircuitHandler::~CircuitHandler() = default;

} // namespace velk::powerdistribution::handlers
