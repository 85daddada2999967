#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <string>
#include <vector>

namespace velk::cli {

/// `channels [PATH…]`: the channels of the store as the store keeps them, with type, unit, times, labels and
/// description; all of them without a path.
ExitCode runChannels(Session& session, const std::vector<std::string>& paths);

} // namespace velk::cli
