#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

namespace velk::cli {

/// `tree`: every device with its points, indented as they hang together; as JSON the devices nested in
/// `children`.
ExitCode runTree(Session& session);

} // namespace velk::cli
