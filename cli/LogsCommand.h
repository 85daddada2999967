#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <cstdint>
#include <optional>

namespace velk::cli {

/// Which events a person wants to see, and for how long.
struct LogsOptions {
    std::optional<std::uint64_t> newest; ///< only so many of what is there; all without
    bool follow{false};                  ///< also the events that come later
    double seconds{0.0};                 ///< end following after so long; 0 for no end
};

/// `logs`: the device's own event log as far as the daemon has read it, newest last.
///
/// What keeps the log from being whole and of now is said on `err`: `NoSuchPath` when the store has no log of
/// the present device, `Failed` when it, or the device's log itself, cannot be read, `NotConnected` when the
/// device cannot be reached, so that newer events may be missing. Following ends with `Done`.
///
/// Threads: the program's other threads must have SIGINT and SIGTERM blocked when it follows.
ExitCode runLogs(Session& session, const LogsOptions& options);

} // namespace velk::cli
