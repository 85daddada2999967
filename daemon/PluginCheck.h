#pragma once

#include "daemon/Finding.h"

#include <string>
#include <vector>

namespace velk::daemon {

class ConfigurationFile;

/// By this symbol a plug-in may check its own section of the configuration file:
/// `extern "C" int velkProtocolCheck(const char* configurationPath, char* message, unsigned long size)` gives
/// 0 for a good one; otherwise `message`, of at most `size` bytes with its end, is "FILE:LINE:COLUMN: " and
/// what was expected.
inline constexpr const char* CHECK_SYMBOL = "velkProtocolCheck";

/// That the plug-ins which the file names are there, can be loaded, are protocol plug-ins, and find their
/// section good. Each is loaded and unloaded again. No plug-in at all is a warning: no device will be found.
Findings checkPlugins(const ConfigurationFile& file);

/// A file that could be a plug-in, and what became of it. A plain value.
struct PluginTrial {
    std::string path;
    std::string state; ///< "loaded", "declined", "no plug-in", "not loaded"
    std::string why;   ///< empty when it was loaded
};

/// Loads the plug-ins as the daemon would, in its order, and unloads them again. One that gives nothing at
/// its entry has declined: as a rule because the file has no section for it.
std::vector<PluginTrial> tryPlugins(const ConfigurationFile& file);

} // namespace velk::daemon
