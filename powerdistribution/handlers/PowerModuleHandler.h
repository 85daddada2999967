#pragma once

#include "powerdistribution/handlers/GenericHandler.h"

namespace velk::powerdistribution::handlers {

/// Power modules with their synchroniser.
class PowerModuleHandler final : public GenericHandler {
public:
    PowerModuleHandler(const EPath& path, const velk::common::Uuid& parentUuid, const Factories& factories);
    ~PowerModuleHandler() override;
};

} // namespace velk::powerdistribution::handlers
