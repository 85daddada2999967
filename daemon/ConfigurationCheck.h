#pragma once

#include "daemon/Finding.h"

#include <string>

namespace velk::daemon {

class ConfigurationFile;

/// Everything that can be said about the configuration file without starting: the file itself, the plug-ins
/// that it names, their own sections as far as they can tell, and the alarm files of those sections. Loads
/// the plug-ins and unloads them again.
Findings checkConfiguration(const std::string& path);

/// The file itself only: that it can be read and what the daemon takes from it is usable.
Findings checkFile(const std::string& path);

/// The members that are the daemon's own: numbers in their ranges, a list of plug-ins; others that are no
/// section of a plug-in are warned of.
Findings checkMembers(const ConfigurationFile& file);

} // namespace velk::daemon
