#include "powerdistribution/handlers/CommunicationStatusHandler.h"

#include "powerdistribution/handlers/ComStateHandler.h"

namespace velk::powerdistribution::handlers {

CommunicationStatusHandler::CommunicationStatusHandler(const EPath& path, const velk::common::Uuid& uuid,
                                                       const Factories& factories) :
    BaseHandler{path} {
    factories.dataModel->emplace(std::make_shared<ComStateHandler>(path, uuid, factories));
}

CommunicationStatusHandler::~CommunicationStatusHandler() = default;

} // namespace velk::powerdistribution::handlers
