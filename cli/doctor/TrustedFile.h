#pragma once

#include <string>

namespace velk::cli {

/// Why whoever runs this program cannot rely on `file` being what its owner made it: "/etc/velk belongs to
/// alice". Empty when it, and every folder above it, belongs to root or to the caller, and nobody else may
/// write there (of a folder with the sticky bit: may take away what is in it).
std::string distrustOf(const std::string& file);

/// Likewise of the plug-ins that the configuration file `path` names, or of those beside it when it names
/// none.
std::string distrustOfPlugins(const std::string& path);

} // namespace velk::cli
