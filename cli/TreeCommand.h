#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <optional>
#include <string>

namespace velk::cli {

/// Which part of the tree a person wants to see, and how much of it.
struct TreeOptions {
    std::string path;                  ///< a device or a part; empty for everything
    std::optional<unsigned int> depth; ///< levels of parts below it; all without
    bool full{false};                  ///< no table in place of the items of a long collection
};

/// `tree`: devices with their values, in the order in which the power goes through them. The items of a
/// collection of more than eight make a table, a line each; one that is asked for by its path is shown whole.
/// Throws `Failure` when there is no such part.
ExitCode runTree(Session& session, const TreeOptions& options);

} // namespace velk::cli
