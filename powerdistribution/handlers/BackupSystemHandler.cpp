#include "powerdistribution/handlers/BackupSystemHandler.h"

#include "powerdistribution/handlers/PowerBankHandler.h"

namespace velk::powerdistribution::handlers {

BackupSystemHandler::BackupSystemHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                                         const Factories& factories) :
    GenericHandler{path, parentUuid, factories} {
    factories.dataModel->emplace(
        std::make_shared<PowerBankHandler>(path + ECircuit::PowerBank, uuid(), factories));
}

BackupSystemHandler::~BackupSystemHandler() = default;

} // namespace velk::powerdistribution::handlers
