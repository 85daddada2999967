#pragma once

#include "daemon/Finding.h"

namespace velk::daemon {

class ConfigurationFile;

/// Reads the alarm files that the sections of plug-ins name in their member "alarmFile", as the library will
/// read them. Relative names start from the configuration file's folder.
Findings checkAlarmFiles(const ConfigurationFile& file);

} // namespace velk::daemon
