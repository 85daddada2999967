#pragma once

#include "powerdistribution/handlers/GenericHandler.h"

namespace velk::powerdistribution::handlers {

/// The link of the device to this host, with the private actions that tell the device facts of the host.
///
/// Those come from the system connector: what the host's facts are now goes to the device at once, and later
/// only what changes.
class ConnectivityHandler final : public GenericHandler {
public:
    ConnectivityHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);
    ~ConnectivityHandler() override;
};

} // namespace velk::powerdistribution::handlers
