#pragma once

#include "powerdistribution/handlers/GenericHandler.h"

namespace velk::powerdistribution::handlers {

/// The storage of the backup system: a computed operating status, a communication status of its own, chargers
/// and storage modules.
class PowerBankHandler final : public GenericHandler {
public:
    PowerBankHandler(const EPath& path, const velk::common::Uuid& parentUuid, const Factories& factories);
    ~PowerBankHandler() override;
};

} // namespace velk::powerdistribution::handlers
