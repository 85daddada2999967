#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <string>
#include <vector>

namespace velk::cli {

/// `get PATH…`: the points that the paths mean, each once, in the order of the paths. A path that means
/// nothing is reported and the rest still shown; the code is then `NoSuchPath`.
ExitCode runGet(Session& session, const std::vector<std::string>& paths);

} // namespace velk::cli
