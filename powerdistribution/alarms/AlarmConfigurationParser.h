#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/alarms/AlarmConfig.h"
#include "powerdistribution/core/EPath.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace velk::powerdistribution {

/// The alarm configuration file: which data points raise alarms, when, and with which words.
///
///     {
///       "alarmPriorities": ["Status.LowRuntime.low"],
///       "alarms": {
///         "Status.LowRuntime": {"triggers": [
///           {"type": "value", "value": true, "severity": "critical", "code": "low", "message": "Low"}
///         ]}
///       }
///     }
///
/// Threads: read-only after construction.
class VELK_EXPORT AlarmConfigurationParser {
public:
    /// Reads the file once. A file that cannot be read counts as an empty text, which the JSON reader refuses
    /// with a std::runtime_error; a trigger that is described wrongly throws `AlarmConfigurationError`. One
    /// failure loses the whole file.
    explicit AlarmConfigurationParser(std::string_view path);

    /// The triggers for the data point whose text is the member's name, literally; empty when the file does
    /// not name it. An empty path is looked up as "Null".
    std::optional<AlarmConfig> getConfig(const EPath& path) const;

private:
    std::map<std::string, std::optional<AlarmConfig>> alarms;
};

} // namespace velk::powerdistribution
