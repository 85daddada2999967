#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

namespace velk::cli {

/// `alarms`: the active alarms, the most critical first.
ExitCode runAlarms(Session& session);

} // namespace velk::cli
