#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

namespace velk::powerdistribution::handlers {

/// A device of the store, named by its path below its parent, with its health and all data points that the
/// device serves directly below its path.
class GenericHandler : public BaseHandler {
public:
    /// `parentUuid` is the store device above; the node's own is derived from it and the path.
    GenericHandler(const EPath& path, const velk::common::Uuid& parentUuid, const Factories& factories);
    ~GenericHandler() override;

protected:
    /// The Uuid of this device. Throws `UnexpectedIndex` when there is none.
    const velk::common::Uuid& uuid() const;

private:
    void generateDataPoints(const Factories& factories) const;

    const connectors::ConnectorPtr connector; ///< kept, so that the store device counts as in use
    HandlerData uuidData;
};

} // namespace velk::powerdistribution::handlers
