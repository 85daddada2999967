#pragma once

#include "cli/ExitCode.h"
#include "cli/Surroundings.h"

#include <string>

namespace velk::cli {

/// `doctor`: looks at everything that keeps the store from being right and fresh, in a fixed order, one line
/// each and what to do about it. `Failed` when there is a problem. `configuration` is the daemon's file;
/// empty for the one that it uses.
ExitCode runDoctor(Surroundings& surroundings, const std::string& configuration);

} // namespace velk::cli
