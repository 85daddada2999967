#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/alarms/Trigger.h"

#include <ostream>
#include <vector>

namespace velk::powerdistribution {

/// The triggers of one data point, in the order of the file. A plain value.
struct AlarmConfig {
    std::vector<Trigger> triggers;
};

/// Prints "AlarmConfig([ ", each trigger and a blank, "])".
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const AlarmConfig& config);

} // namespace velk::powerdistribution
