#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velk::cli {

/// What a person chose to watch, and for how long.
struct WatchOptions {
    std::vector<std::string> paths; ///< as for `get`; none means everything
    bool all{false};                ///< each change for itself, as it comes, the smallest too
    bool every{false};              ///< as `all`, and also writes that change nothing
    double interval{1.0};           ///< seconds; the changes of a path in it make one line
    double deadband{1.0};           ///< percent; a measure that moved less since its last line makes none
    std::uint64_t count{0};         ///< end after so many lines; 0 for no end
    double seconds{0.0};            ///< end after so long; 0 for no end

    bool isConflating() const { return !all && !every; }
};

/// `watch`: the changes of the points chosen, in the order of their times, until SIGINT or SIGTERM. Points
/// that come into being later belong to it.
///
/// Threads: the program's other threads must have SIGINT and SIGTERM blocked.
ExitCode runWatch(Session& session, const WatchOptions& options);

} // namespace velk::cli
