#include "powerdistribution/handlers/emplacePhasesCollection.h"

#include "powerdistribution/handlers/CollectionHandler.h"
#include "powerdistribution/handlers/GenericHandler.h"

namespace velk::powerdistribution::handlers {

void emplacePhasesCollection(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories) {
    factories.dataModel->emplace(
        std::make_shared<CollectionHandler<GenericHandler>>(path, uuid, factories, 1));
}

} // namespace velk::powerdistribution::handlers
