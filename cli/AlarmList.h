#pragma once

#include "cli/StoreView.h"
#include "cli/Style.h"
#include "platform/tessapi/DataAlarms.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace velk::cli {

/// An active alarm and the point that raised it.
struct RaisedAlarm {
    const Point* point{nullptr};
    tessapi::ActiveAlarm alarm;
};

/// All active alarms, the most critical first: by level, then by priority (0 first, -1 last), then in the
/// order of the tree.
std::vector<RaisedAlarm> raisedAlarms(const StoreView& view);

/// "1 critical, 2 warning", each in its colour. `raised` is in the order of `raisedAlarms`.
std::string alarmCounts(const std::vector<RaisedAlarm>& raised, const Style& style);

/// With `level`, `path`, `code`, `priority`, `value`, `text` and `changed`.
nlohmann::ordered_json jsonOf(const RaisedAlarm& raised);

} // namespace velk::cli
