#pragma once

#include "powerdistribution/handlers/GenericHandler.h"

namespace velk::powerdistribution::handlers {

/// The backup system with its power bank.
class BackupSystemHandler final : public GenericHandler {
public:
    BackupSystemHandler(const EPath& path, const velk::common::Uuid& parentUuid, const Factories& factories);
    ~BackupSystemHandler() override;
};

} // namespace velk::powerdistribution::handlers
