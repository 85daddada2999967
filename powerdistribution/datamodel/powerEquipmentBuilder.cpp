#include "powerdistribution/datamodel/powerEquipmentBuilder.h"

#include "powerdistribution/handlers/PowerEquipmentHandler.h"

namespace velk::powerdistribution::datamodel {

std::shared_ptr<handlers::IHandler> powerEquipmentBuilder(const EPath& path, const velk::common::Uuid& uuid,
                                                          const Factories& factories) {
    return std::make_shared<handlers::PowerEquipmentHandler>(path, uuid, factories);
}

} // namespace velk::powerdistribution::datamodel
