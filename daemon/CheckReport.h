#pragma once

#include "daemon/ExitCode.h"

#include <ostream>
#include <string>

namespace velk::daemon {

/// `--check`: what is wrong with the configuration at `path`, one line a finding, and whether it is good.
ExitCode reportCheck(std::ostream& out, const std::string& path);

/// `--check --json`: the same for programs, with what became of each file that could be a plug-in:
/// {"configuration": PATH, "good": true, "findings": [{"severity": "error", "text": …}],
///  "plugins": [{"path": …, "state": "loaded", "why": ""}]}.
ExitCode reportCheckAsJson(std::ostream& out, const std::string& path);

} // namespace velk::daemon
