#pragma once

#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

namespace velk::powerdistribution::handlers {

/// The node that puts a communication state under a device. `uuid` is that device's.
class CommunicationStatusHandler final : public BaseHandler {
public:
    CommunicationStatusHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);
    ~CommunicationStatusHandler() override;
};

} // namespace velk::powerdistribution::handlers
