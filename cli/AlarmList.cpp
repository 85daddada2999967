#include "cli/AlarmList.h"

#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

std::int64_t rank(const tessapi::ActiveAlarm& alarm) {
    return alarm.priority < 0 ? std::numeric_limits<std::int64_t>::max() : alarm.priority;
}

} // namespace

std::vector<RaisedAlarm> raisedAlarms(const StoreView& view) {
    std::vector<RaisedAlarm> raised;
    for (const Point& point : view.points()) {
        if (point.channel != nullptr) {
            for (const tessapi::ActiveAlarm& alarm : point.channel->activeAlarms) {
                raised.push_back({&point, alarm});
            }
        }
    }
    std::stable_sort(raised.begin(), raised.end(), [](const RaisedAlarm& a, const RaisedAlarm& b) {
        return a.alarm.level != b.alarm.level ? a.alarm.level > b.alarm.level : rank(a.alarm) < rank(b.alarm);
    });
    return raised;
}

std::string alarmCounts(const std::vector<RaisedAlarm>& raised, const Style& style) {
    std::string text;
    for (auto first = raised.begin(); first != raised.end();) {
        const tessapi::LevelAlarm level = first->alarm.level;
        const auto next = std::find_if(
            first, raised.end(), [level](const RaisedAlarm& other) { return other.alarm.level != level; });
        text += (text.empty() ? "" : ", ") +
                style.level(level, std::to_string(next - first) + " " + levelText(level));
        first = next;
    }
    return text;
}

Json jsonOf(const RaisedAlarm& raised) {
    const tessapi::ChannelRecord& channel = *raised.point->channel;
    const std::optional<std::string> label = labelOf(channel.value, channel);
    Json object;
    object["level"] = levelText(raised.alarm.level);
    object["path"] = raised.point->path;
    object["code"] = raised.alarm.code;
    object["priority"] = raised.alarm.priority;
    object["value"] = jsonOf(channel.value);
    object["text"] = label ? Json(*label) : Json(nullptr);
    object["changed"] = channel.changedMs == 0 ? Json(nullptr) : Json(utcText(channel.changedMs));
    return object;
}

} // namespace velk::cli
