#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <string>

namespace velk::cli {

/// Which events a person wants to see.
struct EventsOptions {
    std::string since; ///< as `sinceMs` takes it
    std::string path;  ///< as `PathFilter` takes it
};

/// `events`: what happened to the device, in one timeline, the newest last; see `timelineOf`. Throws
/// `Failure` with `Usage` for a time that is none.
ExitCode runEvents(Session& session, const EventsOptions& options);

} // namespace velk::cli
