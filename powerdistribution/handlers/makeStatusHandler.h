#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/handlers/Factories.h"
#include "powerdistribution/handlers/ROValueHandler.h"

#include <memory>

namespace velk::powerdistribution::handlers {

/// The status `path` on a status connector of the device `uuid`; null when the device does not serve it.
std::shared_ptr<ROValueHandler> makeStatusHandler(const EPath& path, const velk::common::Uuid& uuid,
                                                  const Factories& factories);

} // namespace velk::powerdistribution::handlers
