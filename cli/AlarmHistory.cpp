#include "cli/AlarmHistory.h"

#include "cli/ChannelPath.h"
#include "cli/Style.h"
#include "cli/TimeText.h"
#include "cli/TriggerState.h"
#include "cli/ValueText.h"
#include "platform/tessapi/catalogue/Catalogue.h"

#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::int8_t EQUAL_TRIGGER = 3;

/// What the store tells apart of the alarms of a channel.
using AlarmKey = std::tuple<std::uint64_t, std::string, tessapi::LevelAlarm, std::int32_t>;

AlarmKey keyOf(const tessapi::AlarmEvent& event) {
    return {event.channel, event.code, event.level, event.priority};
}

/// What is needed to put the event's values into words: that of the channel, or of what the catalogue knows
/// of one that is gone.
tessapi::ChannelRecord channelOf(const StoreView& view, const tessapi::AlarmEvent& event) {
    const Point* point = view.pointOf(event.channel);
    if (point != nullptr && point->channel->name == event.name) {
        return *point->channel;
    }
    tessapi::ChannelRecord channel;
    channel.name = event.name;
    if (const tessapi::CatalogueEntry* known = tessapi::Catalogue::builtin().find(event.name)) {
        channel.unit = known->unit;
        channel.commonStates = known->labels;
    }
    return channel;
}

std::string wordsOf(const tessapi::AlarmEvent& event, const tessapi::ChannelRecord& channel) {
    const std::string value = briefText(event.value, channel);
    if (event.type == EQUAL_TRIGGER) {
        return event.raised ? value : value + ", no longer " + briefText(event.threshold1, channel);
    }
    qz::CAlarmTrigger trigger;
    trigger.type = event.type;
    trigger.threshold1 = event.threshold1;
    trigger.threshold2 = event.threshold2;
    return value + (event.raised ? ", " : ", no longer ") + conditionText(trigger, channel);
}

AlarmHappening happeningOf(const StoreView& view, const tessapi::AlarmEvent& event, const std::string& path) {
    const tessapi::ChannelRecord channel = channelOf(view, event);
    AlarmHappening happening;
    happening.event = event;
    happening.path = path;
    happening.value = briefText(event.value, channel);
    happening.words = wordsOf(event, channel);
    if (!channel.unit.empty()) {
        happening.unit = channel.unit;
    }
    return happening;
}

} // namespace

std::vector<tessapi::AlarmEvent> allAlarmEvents(tessapi::StoreBrowser& store) {
    return store.alarmEvents(std::numeric_limits<std::int64_t>::min(),
                             std::numeric_limits<std::int32_t>::max());
}

std::vector<AlarmHappening> alarmHappenings(const StoreView& view,
                                            const std::vector<tessapi::AlarmEvent>& events,
                                            std::int64_t sinceMs, const PathFilter& filter) {
    std::map<AlarmKey, std::int64_t> raisedAt;
    std::vector<AlarmHappening> happenings;
    for (const tessapi::AlarmEvent& event : events) {
        const auto begun = raisedAt.find(keyOf(event));
        const std::string device = devicePathOf(event.device, event.place);
        const std::string path = joinPath(device, shortChannelName(event.name, device));
        if (event.timeMs >= sinceMs && filter.takes(path)) {
            happenings.push_back(happeningOf(view, event, path));
            // A clock that was set back meanwhile leaves nothing to tell.
            if (!event.raised && begun != raisedAt.end() && begun->second <= event.timeMs) {
                happenings.back().lastedMs = event.timeMs - begun->second;
            }
        }
        if (event.raised) {
            raisedAt.insert_or_assign(keyOf(event), event.timeMs);
        } else if (begun != raisedAt.end()) {
            raisedAt.erase(begun);
        }
    }
    return happenings;
}

std::int64_t raisedAtMs(const RaisedAlarm& raised, const std::vector<tessapi::AlarmEvent>& events) {
    const tessapi::ActiveAlarm& alarm = raised.alarm;
    const AlarmKey wanted{raised.point->channel->id, alarm.code, alarm.level, alarm.priority};
    for (auto event = events.rbegin(); event != events.rend(); ++event) {
        if (keyOf(*event) == wanted && event->raised) {
            return event->timeMs;
        }
        if (keyOf(*event) == wanted) {
            break; // the store has been told of the alarm in another way
        }
    }
    return raised.point->channel->changedMs;
}

Json jsonOf(const AlarmHappening& happening) {
    const tessapi::AlarmEvent& event = happening.event;
    qz::CAlarmTrigger trigger;
    trigger.type = event.type;
    Json object;
    object["time"] = utcText(event.timeMs);
    object["event"] = event.raised ? "raised" : "cleared";
    object["level"] = levelText(event.level);
    object["priority"] = event.priority;
    object["path"] = happening.path;
    object["code"] = event.code;
    object["message"] = event.message;
    object["value"] = jsonOf(event.value);
    object["unit"] = happening.unit ? Json(*happening.unit) : Json(nullptr);
    object["condition"] = conditionName(trigger);
    object["threshold1"] = jsonOf(event.threshold1);
    object["threshold2"] = jsonOf(event.threshold2);
    object["text"] = happening.words;
    object["lastedSeconds"] =
        happening.lastedMs ? Json(static_cast<double>(*happening.lastedMs) / 1000.0) : Json(nullptr);
    return object;
}

} // namespace velk::cli
