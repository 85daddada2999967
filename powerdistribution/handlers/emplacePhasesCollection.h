#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/handlers/Factories.h"

namespace velk::powerdistribution::handlers {

/// Makes and enters the phases at `path` of the circuit `uuid`; they count from 1.
void emplacePhasesCollection(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);

} // namespace velk::powerdistribution::handlers
