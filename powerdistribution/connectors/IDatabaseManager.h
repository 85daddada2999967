#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/connectors/IConnectorFactory.h"

namespace velk::powerdistribution::connectors {

/// The store as the lifecycle sees it. The order of the operations is contract.
class VELK_EXPORT IDatabaseManager {
public:
    virtual ~IDatabaseManager();
    virtual const IConnectorFactory& connectorFactory() const = 0;

    /// Deletes from the store what no connector reports as in use.
    virtual void sanitize() = 0;
};

} // namespace velk::powerdistribution::connectors
