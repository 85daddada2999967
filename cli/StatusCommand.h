#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

namespace velk::cli {

/// `tess status`: which device it is, its mode, health and communication, and its active alarms.
ExitCode runStatus(Session& session);

} // namespace velk::cli
