#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/connectors/IConnector.h"

namespace velk::powerdistribution::connectors {

/// Marks a connector that leads to the store.
class VELK_EXPORT ITessConnector : public IConnector {
public:
    ~ITessConnector() override;
};

} // namespace velk::powerdistribution::connectors
