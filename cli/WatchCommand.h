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
    bool every{false};              ///< also writes that change nothing
    std::uint64_t count{0};         ///< end after so many lines; 0 for no end
    double seconds{0.0};            ///< end after so long; 0 for no end
};

/// `watch`: one line for every change of the points chosen, as it comes, until SIGINT or SIGTERM. Points that
/// come into being later belong to it.
///
/// Threads: the program's other threads must have SIGINT and SIGTERM blocked.
ExitCode runWatch(Session& session, const WatchOptions& options);

} // namespace velk::cli
