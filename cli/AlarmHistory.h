#pragma once

#include "cli/AlarmList.h"
#include "cli/PathFilter.h"
#include "cli/StoreView.h"
#include "platform/tessapi/AlarmEvent.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace velk::cli {

/// An alarm that was raised or cleared, in the words of people. A plain value.
struct AlarmHappening {
    tessapi::AlarmEvent event;
    std::string path;                     ///< "Inputs.1.Measure.Voltage"; the point may be gone
    std::string value;                    ///< with its unit
    std::string words;                    ///< value and condition: "184 V, at or below 207 V"
    std::optional<std::string> unit;      ///< empty for none
    std::optional<std::int64_t> lastedMs; ///< of one that was cleared, when it is known
};

/// The newest events that the store keeps, oldest first.
std::vector<tessapi::AlarmEvent> allAlarmEvents(tessapi::StoreBrowser& store);

/// Those of `events` at or after `sinceMs` whose path `filter` takes. How long an alarm lasted is also known
/// of one that was raised before.
std::vector<AlarmHappening> alarmHappenings(const StoreView& view,
                                            const std::vector<tessapi::AlarmEvent>& events,
                                            std::int64_t sinceMs, const PathFilter& filter);

/// When the active alarm was raised, by the newest event of it; when the store has none, when its value
/// changed last. 0 when neither is known.
std::int64_t raisedAtMs(const RaisedAlarm& raised, const std::vector<tessapi::AlarmEvent>& events);

/// With `time`, `event` ("raised", "cleared"), `level`, `priority`, `path`, `code`, `message`, `value`,
/// `unit`, `condition` ("upper", "lower", "equal", "between"), `threshold1`, `threshold2`, `text` (the words)
/// and `lastedSeconds`.
nlohmann::ordered_json jsonOf(const AlarmHappening& happening);

} // namespace velk::cli
