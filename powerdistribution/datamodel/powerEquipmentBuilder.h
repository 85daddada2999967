#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/handlers/Factories.h"
#include "powerdistribution/handlers/IHandler.h"

#include <memory>

namespace velk::powerdistribution::datamodel {

/// Makes the root of the data model, and in its constructor the whole tree. `uuid` is the store's root
/// device.
std::shared_ptr<handlers::IHandler> powerEquipmentBuilder(const EPath& path, const velk::common::Uuid& uuid,
                                                          const Factories& factories);

} // namespace velk::powerdistribution::datamodel
