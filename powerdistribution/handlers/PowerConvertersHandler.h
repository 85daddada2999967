#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

namespace velk::powerdistribution::handlers {

/// A device of the store that holds one `PowerConverterHandler` for each kind of converter that the device
/// serves.
class PowerConvertersHandler final : public BaseHandler {
public:
    PowerConvertersHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                           const Factories& factories);
    ~PowerConvertersHandler() override;

private:
    void emplaceConverters(const Factories& factories) const;

    const connectors::ConnectorPtr connector; ///< kept, so that the store device counts as in use
    HandlerData uuidData;
};

} // namespace velk::powerdistribution::handlers
