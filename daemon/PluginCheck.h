#pragma once

#include "daemon/Finding.h"

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

} // namespace velk::daemon
