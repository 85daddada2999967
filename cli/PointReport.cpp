#include "cli/PointReport.h"

#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

Json PointReport::json(const Point& point) const {
    Json object;
    object["path"] = point.path;
    if (point.channel == nullptr) {
        object["value"] = point.text;
        object["type"] = "string";
        object["unit"] = nullptr;
        object["changed"] = nullptr;
    } else {
        const tessapi::ChannelRecord& channel = *point.channel;
        object["value"] = jsonOf(channel.value);
        object["type"] = to_string(channel.type);
        object["unit"] = channel.unit.empty() ? Json(nullptr) : Json(channel.unit);
        if (!channel.states.empty()) {
            const std::optional<std::string> label = labelOf(channel.value, channel);
            object["text"] = label ? Json(*label) : Json(nullptr);
        }
        object["changed"] = channel.changedMs == 0 ? Json(nullptr) : Json(utcText(channel.changedMs));
    }
    object["fresh"] = communication.isFresh(point);
    if (communication.isUnconfirmed(point)) {
        object["unconfirmed"] = true;
    }
    return object;
}

std::string PointReport::value(const Point& point) const {
    return painted(point, displayText(point));
}

std::string PointReport::briefValue(const Point& point) const {
    return painted(point, briefText(point));
}

std::string PointReport::painted(const Point& point, const std::string& text) const {
    if (!communication.isFresh(point)) {
        return style.faint(text);
    }
    if (point.channel != nullptr && !point.channel->activeAlarms.empty()) {
        return style.level(point.channel->activeAlarms.front().level, text);
    }
    return text;
}

std::string PointReport::changed(const Point& point) const {
    return point.channel == nullptr ? std::string{}
                                    : style.faint(timeAndAge(point.channel->changedMs, nowMs));
}

std::string PointReport::freshness(const Point& point) const {
    const Connection connection = communication.of(point);
    if (connection.good) {
        return "";
    }
    std::string text = communication.isUnconfirmed(point) ? "unconfirmed" : "last known";
    text += ", " + connection.state;
    if (connection.sinceMs != 0) {
        text += " since " + timeAndAge(connection.sinceMs, nowMs);
    }
    return style.bad(text);
}

} // namespace velk::cli
