#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

namespace velk::powerdistribution::handlers {

/// Since when the communication is in its present state.
///
/// Threads: none of its own. It belongs to one `ComStateHandler`, which calls it under its lock.
class ComSinceHandler final : public BaseHandler {
public:
    ComSinceHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);
    ~ComSinceHandler() override;

    void initialize() override;

    /// Does nothing: the connector stays open and is released with the handler.
    void terminate() override;

    /// Stamps a change: stores the device's time, or the local time when the device gives none.
    void refresh() override;

private:
    const connectors::ConnectorPtr connector;
    const protocols::ValueWrapperPtr wrapper; ///< null when the device has no clock of its own
    HandlerData data;
};

} // namespace velk::powerdistribution::handlers
