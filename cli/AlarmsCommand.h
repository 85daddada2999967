#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <string>

namespace velk::cli {

/// `alarms`: the active alarms, the most critical first.
ExitCode runAlarms(Session& session);

/// Which alarms of the past a person wants to see.
struct AlarmHistoryOptions {
    std::string since; ///< as `sinceMs` takes it
    std::string path;  ///< as `PathFilter` takes it
};

/// `alarms --history`: the alarms that were raised and cleared, as far as the store keeps them, the newest
/// last. Throws `Failure` with `Usage` for a time that is none.
ExitCode runAlarmHistory(Session& session, const AlarmHistoryOptions& options);

} // namespace velk::cli
