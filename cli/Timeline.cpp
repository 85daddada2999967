#include "cli/Timeline.h"

#include "cli/AlarmHistory.h"
#include "cli/ChannelPath.h"
#include "cli/CommunicationNote.h"
#include "cli/DeviceLog.h"
#include "cli/Failure.h"
#include "cli/FigureText.h"
#include "cli/TimeText.h"
#include "cli/ValueParser.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <limits>
#include <map>
#include <sstream>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

/// As what the daemon notes the writes that are its own.
constexpr const char* DAEMON = "powerdistributiond";
constexpr const char* COMMUNICATION_STATE = "CommunicationStatus.State";

Json textOrNothing(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

/// The text of a channel of the daemon's own device; "" when it has none.
std::string daemonText(const StoreView& view, const char* channel) {
    const Point* point = view.find(channel);
    const std::string* text = point == nullptr || point->channel == nullptr
                                  ? nullptr
                                  : std::get_if<std::string>(&point->channel->value.variant());
    return text == nullptr ? std::string{} : *text;
}

Json headOf(std::int64_t timeMs, const char* kind, const std::string& path) {
    return Json{{"time", utcText(timeMs)}, {"kind", kind}, {"path", textOrNothing(path)}};
}

void addAlarms(std::vector<Happening>& timeline, const Session& session, const StoreView& view,
               std::int64_t sinceMs, const PathFilter& filter) {
    const std::vector<tessapi::AlarmEvent> events = allAlarmEvents(session.store.browser());
    for (const AlarmHappening& alarm : alarmHappenings(view, events, sinceMs, filter)) {
        const tessapi::AlarmEvent& event = alarm.event;
        const std::string name =
            levelText(event.level) + (event.code.empty() ? "" : " " + printable(event.code));
        std::string words = event.raised ? session.style.level(event.level, name + " raised")
                                         : session.style.good(name + " cleared");
        if (alarm.lastedMs) {
            words += " after " + durationText(*alarm.lastedMs / 1000);
        }
        Json json = headOf(event.timeMs, "alarm", alarm.path);
        json.update(jsonOf(alarm));
        timeline.push_back({event.timeMs, "alarm", alarm.path, words + ": " + alarm.words, std::move(json)});
    }
}

/// The asked value as people say it.
std::string askedWords(const tessapi::WriteRecord& record, const StoreView& view) {
    const Point* point = view.find(record.path);
    if (point != nullptr && point->channel != nullptr) {
        try {
            return displayText(parseValue(record.asked, *point->channel), *point->channel);
        } catch (const Failure&) {
            return printable(record.asked); // of a kind that nobody types
        }
    }
    return printable(record.asked);
}

std::string writerWords(const tessapi::WriteRecord& record) {
    if (record.user.empty() && record.program.empty()) {
        return "by nobody known";
    }
    if (record.program == DAEMON) {
        return "by the daemon itself";
    }
    const std::string with = record.program.empty() ? "" : " with " + printable(record.program);
    return "by " + (record.user.empty() ? "somebody" : printable(record.user)) + with;
}

void addWrites(std::vector<Happening>& timeline, const Session& session, const StoreView& view,
               std::int64_t sinceMs, const PathFilter& filter) {
    for (const tessapi::WriteRecord& record :
         session.store.browser().writeRecords(sinceMs, std::numeric_limits<std::int32_t>::max())) {
        if (!filter.takes(record.path)) {
            continue;
        }
        const std::string result = record.result.empty() ? session.style.good("accepted")
                                                         : session.style.bad(printable(record.result));
        Json json = headOf(record.timeMs, "write", record.path);
        json["asked"] = record.asked;
        json["program"] = textOrNothing(record.program);
        json["user"] = textOrNothing(record.user);
        json["accepted"] = record.result.empty();
        json["error"] = textOrNothing(record.result);
        timeline.push_back({record.timeMs, "write", record.path,
                            askedWords(record, view) + " asked for " + writerWords(record) + ": " + result,
                            std::move(json)});
    }
}

std::string stateWords(const std::string& state) {
    return state == "stopped" ? "service stopped" : printable(state);
}

void addLinks(std::vector<Happening>& timeline, const Session& session, const StoreView& view,
              std::int64_t sinceMs, const PathFilter& filter) {
    std::map<std::string, const CommunicationNote*> before;
    const std::vector<CommunicationNote> notes =
        CommunicationNote::parseAll(daemonText(view, CommunicationNote::CHANNEL));
    for (const CommunicationNote& note : notes) {
        const CommunicationNote* former = std::exchange(before[note.device], &note);
        const std::string path = joinPath(note.device, COMMUNICATION_STATE);
        if (note.timeMs < sinceMs || !filter.takes(path)) {
            continue;
        }
        const std::string state = stateWords(note.state);
        std::string words = note.state == "connected" ? session.style.good(state) : session.style.bad(state);
        Json json = headOf(note.timeMs, "link", path);
        json["state"] = note.state;
        json["formerState"] = former == nullptr ? Json(nullptr) : Json(former->state);
        json["formerSeconds"] = nullptr;
        if (former != nullptr && former->timeMs <= note.timeMs) {
            const std::int64_t lastedMs = note.timeMs - former->timeMs;
            words += ", was " + stateWords(former->state) + " for " + durationText(lastedMs / 1000);
            json["formerSeconds"] = static_cast<double>(lastedMs) / 1000.0;
        }
        timeline.push_back({note.timeMs, "link", path, words, std::move(json)});
    }
}

std::string logWords(const DeviceLog::Entry& entry) {
    std::ostringstream words;
    words << "event " << entry.id << ", severity " << entry.severity << ", code " << entry.code << ", status "
          << entry.status << ", mode " << entry.mode << ", reason " << entry.reason << ", data "
          << entry.data;
    return words.str();
}

void addDeviceLog(std::vector<Happening>& timeline, const StoreView& view, std::int64_t sinceMs) {
    std::string why;
    const std::optional<DeviceLog> log = DeviceLog::parse(daemonText(view, DeviceLog::CHANNEL), why);
    const StoreView::Branch* device = view.branch(StoreView::POWER_DISTRIBUTION);
    if (!log || device == nullptr || device->device->uuid.toString() != log->device) {
        return; // tess logs says why
    }
    for (const DeviceLog::Entry& entry : log->entries) {
        if (entry.timeMs >= sinceMs) {
            Json json = headOf(entry.timeMs, "log", "");
            Json fields = jsonOf(entry);
            fields.erase("time");
            json.update(fields);
            timeline.push_back({entry.timeMs, "log", "", logWords(entry), std::move(json)});
        }
    }
}

} // namespace

std::vector<Happening> timelineOf(const Session& session, const StoreView& view, std::int64_t sinceMs,
                                  const PathFilter& filter) {
    std::vector<Happening> timeline;
    addAlarms(timeline, session, view, sinceMs, filter);
    addWrites(timeline, session, view, sinceMs, filter);
    addLinks(timeline, session, view, sinceMs, filter);
    if (filter.takesAll()) {
        addDeviceLog(timeline, view, sinceMs);
    }
    std::stable_sort(timeline.begin(), timeline.end(),
                     [](const Happening& a, const Happening& b) { return a.timeMs < b.timeMs; });
    return timeline;
}

} // namespace velk::cli
