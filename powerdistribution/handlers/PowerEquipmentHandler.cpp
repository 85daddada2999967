#include "powerdistribution/handlers/PowerEquipmentHandler.h"

#include "powerdistribution/handlers/PowerDistributionHandler.h"
#include "powerdistribution/handlers/makeStatusHandler.h"

namespace velk::powerdistribution::handlers {

using velk::common::Uuid;

PowerEquipmentHandler::PowerEquipmentHandler(const EPath& path, const Uuid& uuid,
                                             const Factories& factories) :
    BaseHandler{path + ECircuit::PowerEquipment},
    connector{factories.connectorFactory.buildConnector(uuid)},
    uuidData{epath(), Value{Uuid{uuid, "Power Distributions"}}, {}} {
    const Uuid& ownUuid = uuidData.value.get<Uuid>();
    connector->store(uuidData);
    operatingStatus = makeStatusHandler(epath() + EStatus::OperatingStatus, ownUuid, factories);
    // Below the root of the path space, not below this node: that is where the main communication state is
    // looked for.
    factories.dataModel->emplace(std::make_shared<PowerDistributionHandler>(path, ownUuid, factories));
}

PowerEquipmentHandler::~PowerEquipmentHandler() = default;

void PowerEquipmentHandler::refresh() {
    if (operatingStatus != nullptr) {
        operatingStatus->refresh();
    }
}

} // namespace velk::powerdistribution::handlers
