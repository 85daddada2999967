#pragma once

#include "daemon/ExitCode.h"

#include <string>

namespace velk::daemon {

/// Runs the daemon with the configuration file `path` until it is asked to end: looks after the device on a
/// thread of its own, takes the signals on the caller's, keeps the journal of writes and tells the service
/// manager. Call it before any other thread is started.
///
/// The first SIGINT or SIGTERM lets the device go; a second ends the process at once with `EndedHard`.
ExitCode host(const std::string& path);

} // namespace velk::daemon
