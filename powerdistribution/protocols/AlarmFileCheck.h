#pragma once

#include "platform/common/Export.h"

#include <optional>
#include <string>

namespace velk::powerdistribution::protocols {

/// What is wrong with an alarm configuration file, as one line "FILE:LINE:COLUMN: reason" without line end;
/// nothing when the system accepts the file. Prints nothing.
///
/// A bad alarm file stops the system from monitoring its device. A plug-in therefore checks its file and
/// serves `Private.AlarmConfigurationFile` only for a good one, so that a mistake costs the alarms and
/// nothing else:
///
///     if (const auto mistake = checkAlarmFile(path)) {
///         std::cerr << *mistake + "\n";
///         return nullptr;
///     }
///
VELK_EXPORT std::optional<std::string> checkAlarmFile(const std::string& path);

} // namespace velk::powerdistribution::protocols
