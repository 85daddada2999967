#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

namespace velk::cli {

/// `devices`: the devices of the store as the store keeps them, the daemon's own among them.
ExitCode runDevices(Session& session);

} // namespace velk::cli
