#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"
#include "powerdistribution/handlers/ROValueHandler.h"

#include <memory>

namespace velk::powerdistribution::handlers {

/// The root of the tree: the equipment, with the state of this service as its operating status.
/// Threads: any; `refresh` passes on to the service state, which has its own lock.
class PowerEquipmentHandler final : public BaseHandler {
public:
    /// `uuid` is the store's root device.
    PowerEquipmentHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);
    ~PowerEquipmentHandler() override;

    /// Publishes the service state, and nothing else.
    void refresh() override;

private:
    const connectors::ConnectorPtr connector; ///< kept, so that the store device counts as in use
    HandlerData uuidData;
    std::shared_ptr<ROValueHandler> operatingStatus; ///< null when nobody serves it
};

} // namespace velk::powerdistribution::handlers
