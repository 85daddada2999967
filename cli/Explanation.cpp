#include "cli/Explanation.h"

#include "cli/PointReport.h"
#include "cli/TimeText.h"
#include "cli/TriggerState.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

struct KindText {
    const char* kind;
    const char* text;
};

constexpr auto kindTexts = std::to_array<KindText>({
    {"reading", "read from the device"},
    {"setting", "a setting: read from the device and written to it"},
    {"action", "an action: written to the device when somebody asks, never read"},
    {"computed", "worked out from other values of this part"},
    {"health", "worked out from the active alarms of this part"},
    {"communication", "how the link to the device is"},
    {"service", "how the service itself is"},
});

/// `own`: the library itself serves it.
std::string kindText(const Json& kind, bool own) {
    if (own && kind == "reading") {
        return "derived from other values of the device";
    }
    for (const KindText& row : kindTexts) {
        if (kind == row.kind) {
            return row.text;
        }
    }
    return "";
}

/// For a terminal: plug-ins pass on what devices say.
std::string textIn(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? printable(found->get<std::string>()) : std::string{};
}

/// Never negative.
std::int64_t momentIn(const Json& object, const char* name) {
    const auto found = object.find(name);
    const bool isNumber = found != object.end() && found->is_number_integer();
    return isNumber ? std::max<std::int64_t>(found->get<std::int64_t>(), 0) : 0;
}

/// "24 ms", "2.1 s", "75 s".
std::string periodText(double seconds) {
    constexpr double shortest = 1.0;
    constexpr double millisecondsASecond = 1000.0;
    std::array<char, 32> text{};
    if (seconds < shortest) {
        std::snprintf(text.data(), text.size(), "%.0f ms", seconds * millisecondsASecond);
    } else {
        std::snprintf(text.data(), text.size(), seconds < 10.0 ? "%.1f s" : "%.0f s", seconds);
    }
    return text.data();
}

std::string pollText(const Json& publisher) {
    const auto rank = publisher.find("rank");
    if (rank == publisher.end() || !rank->is_number_integer()) {
        return "not polled";
    }
    const std::uint64_t cycles = rank->get<std::uint64_t>() + 1; // unsigned: the answer may come from anybody
    const std::string when = cycles == 1 ? "in every cycle" : "once in " + std::to_string(cycles) + " cycles";
    const auto period = publisher.find("periodSeconds");
    const std::string measured = period != publisher.end() && period->is_number()
                                     ? ", about every " + periodText(period->get<double>())
                                     : std::string{};
    return when + measured + " (rank " + rank->dump() + ", " + std::to_string(momentIn(publisher, "reads")) +
           " times so far)";
}

std::string writerText(const JournalEntry::Writer& writer) {
    return printable(writer.program + " (" + writer.user + ", process " + std::to_string(writer.pid) + ")");
}

/// Whether two publishers do the very same, as for a data point that is twice in the model.
bool areTheSame(const Json& a, const Json& b) {
    return textIn(a, "kind") == textIn(b, "kind") && textIn(a, "plugin") == textIn(b, "plugin") &&
           textIn(a, "rule") == textIn(b, "rule");
}

Json momentJson(std::int64_t ms) {
    return ms == 0 ? Json(nullptr) : Json(utcText(ms));
}

Json publisherJson(const Json& told) {
    Json json = told;
    json.erase("lastReadMs");
    json.erase("errorMs");
    json["lastRead"] = momentJson(momentIn(told, "lastReadMs"));
    json["errorTime"] = momentJson(momentIn(told, "errorMs"));
    return json;
}

Json requestJson(const JournalEntry& entry) {
    Json json{{"asked", entry.asked},
              {"accepted", entry.accepted},
              {"error", entry.error ? Json(*entry.error) : Json(nullptr)},
              {"time", entry.time},
              {"by", nullptr}};
    if (entry.by) {
        json["by"] = {{"program", entry.by->program}, {"user", entry.by->user}, {"pid", entry.by->pid}};
    }
    return json;
}

std::optional<JournalEntry> lastRequest(const StoreView& view, const Point& point) {
    const Point* writes = view.find(JournalEntry::WRITES);
    const std::string* text = writes == nullptr || writes->channel == nullptr
                                  ? nullptr
                                  : std::get_if<std::string>(&writes->channel->value.variant());
    return text == nullptr
               ? std::nullopt
               : JournalEntry::newestOf(JournalEntry::parseAll(*text), point.devicePath, point.name);
}

/// critical "charge-low" at or below 20 %: not active.
std::string triggerText(const qz::CAlarmTrigger& trigger, const tessapi::ChannelRecord& channel,
                        const Style& style) {
    const bool isAlarm = trigger.level != tessapi::LevelAlarm::none;
    std::string text = isAlarm ? levelText(trigger.level) : "state";
    if (!trigger.code.empty()) {
        text += " \"" + trigger.code + "\"";
    }
    text += " " + conditionText(trigger, channel) + ": ";
    if (!isAlarm) {
        return text + "names a state";
    }
    return text + (isActive(trigger, channel) ? style.level(trigger.level, "active") : "not active");
}

} // namespace

Explanation::Explanation(const StoreView& picture, const Communication& link, const Point& explained,
                         const Inquiry::Result& answered) :
    view{picture},
    communication{link},
    point{explained},
    inquiry{answered},
    request{lastRequest(picture, explained)} {}

const Json& Explanation::publishers() const {
    static const Json none = Json::array();
    if (!inquiry.answer) {
        return none;
    }
    const auto found = inquiry.answer->find("publishers");
    return found != inquiry.answer->end() && found->is_array() ? *found : none;
}

std::optional<std::string> Explanation::storeWriter() const {
    if (!isRequestable()) {
        return isOfDevice() || !ownPurpose().empty() ? std::optional<std::string>{"powerdistributiond"}
                                                     : std::nullopt;
    }
    // The program wrote the channel right before the daemon wrote the device, whose time is in whole seconds.
    const bool isSameWrite = request && request->by && point.channel != nullptr &&
                             request->time >= utcText(point.channel->writtenMs / 1000 * 1000) &&
                             request->asked == plainText(point.channel->value);
    return isSameWrite ? std::optional{writerText(*request->by)} : std::nullopt;
}

bool Explanation::isOfDevice() const {
    return point.channel == nullptr || point.channel->name.starts_with("PowerDistribution.");
}

std::string Explanation::ownPurpose() const {
    const StoreView::Branch* branch = view.branch(point.deviceId);
    if (branch != nullptr && branch->hidden) {
        return "its own notes";
    }
    return point.channel != nullptr && point.channel->name.starts_with("System.Ethernet.")
               ? "a fact of this host, which the device is told"
               : "";
}

Json Explanation::json() const {
    Json object = PointReport{communication, Style{false}, 0}.json(point);
    const tessapi::ChannelRecord* channel = point.channel;
    const std::optional<std::string> writer = storeWriter();
    object["description"] =
        channel == nullptr || channel->description.empty() ? Json(nullptr) : Json(channel->description);
    object["written"] = channel == nullptr ? Json(nullptr) : momentJson(channel->writtenMs);
    object["writtenBy"] = writer ? Json(*writer) : Json(nullptr);
    object["daemonAnswered"] = inquiry.answer.has_value();
    for (const char* name : {"modelBuilt", "modelError"}) {
        object[name] = inquiry.answer ? inquiry.answer->value(name, Json{}) : Json{};
    }
    object["servedBy"] = Json::array();
    for (const Json& publisher : publishers()) {
        object["servedBy"].push_back(publisherJson(publisher));
    }
    object["lastRequest"] = request ? requestJson(*request) : Json(nullptr);
    object["triggers"] = Json::array();
    if (channel != nullptr) {
        for (const qz::CAlarmTrigger& trigger : channel->alarmConfig.triggers) {
            object["triggers"].push_back({{"condition", conditionName(trigger)},
                                          {"threshold1", jsonOf(trigger.threshold1)},
                                          {"threshold2", jsonOf(trigger.threshold2)},
                                          {"level", levelText(trigger.level)},
                                          {"code", trigger.code},
                                          {"priority", trigger.priority},
                                          {"active", isActive(trigger, *channel)}});
        }
    }
    return object;
}

void Explanation::print(std::ostream& out, const Style& style, std::int64_t nowMs) const {
    const PointReport report{communication, style, nowMs};
    const std::string freshness = report.freshness(point);
    out << style.title(point.path) << " = " << report.value(point)
        << (freshness.empty() ? "" : " (" + freshness + ")") << "\n";
    Table table;
    addPublishers(table, style, nowMs);
    addStore(table, style, nowMs);
    addRequest(table, style);
    addTriggers(table, style);
    table.print(out);
}

void Explanation::addStore(Table& table, const Style& style, std::int64_t nowMs) const {
    const tessapi::ChannelRecord* channel = point.channel;
    if (channel == nullptr) {
        table.add({"  " + style.title("Type"), "text of the device"});
        return;
    }
    const std::string unit = channel->unit.empty() ? "" : ", " + channel->unit;
    table.add({"  " + style.title("Type"), to_string(channel->type) + unit});
    if (!channel->description.empty()) {
        table.add({"  " + style.title("Meaning"), channel->description});
    }
    table.add({"  " + style.title("Last change"), timeAndAge(channel->changedMs, nowMs)});
    const std::string by = channel->writtenMs == 0 ? "" : ", by " + storeWriter().value_or("unknown");
    table.add({"  " + style.title("Last write"), timeAndAge(channel->writtenMs, nowMs) + by});
}

void Explanation::addPublishers(Table& table, const Style& style, std::int64_t nowMs) const {
    if (!isOfDevice()) {
        const std::string purpose = ownPurpose();
        table.add({"  " + style.title("Served by"),
                   purpose.empty() ? "another program" : "powerdistributiond itself: " + purpose});
        return;
    }
    if (!inquiry.answer) {
        return;
    }
    if (const std::string error = textIn(*inquiry.answer, "modelError"); !error.empty()) {
        table.add({"  " + style.title("Data model"), style.bad("cannot be initialised: " + error)});
    }
    if (publishers().empty()) {
        const bool isBuilt = inquiry.answer->value("modelBuilt", Json{}) == Json(true);
        table.add(
            {"  " + style.title("Served by"), isBuilt ? "nothing: the present device has no such data point"
                                                      : "nothing yet: there is no data model of the device"});
    }
    const Json* former = nullptr;
    for (const Json& publisher : publishers()) {
        const bool isRepeated = former != nullptr && areTheSame(*former, publisher);
        if (former != nullptr) {
            table.add({"  " + style.title("Note"), isRepeated
                                                       ? "once more in the data model, with the same source"
                                                       : style.bad("this channel has another writer too:")});
        }
        if (!isRepeated) {
            addPublisher(table, publisher, style, nowMs);
        }
        former = &publisher;
    }
}

void Explanation::addPublisher(Table& table, const Json& publisher, const Style& style,
                               std::int64_t nowMs) const {
    const std::string plugin = textIn(publisher, "plugin");
    const std::string kind = kindText(publisher.value("kind", Json{}), plugin.empty());
    table.add({"  " + style.title("Served by"),
               (plugin.empty() ? "the library itself" : std::filesystem::path{plugin}.filename().string()) +
                   (kind.empty() ? "" : ": " + kind)});
    if (const std::string rule = textIn(publisher, "rule"); !rule.empty()) {
        table.add({"  " + style.title("Rule"), rule});
    }
    table.add({"  " + style.title("Polled"), pollText(publisher)});
    if (const std::int64_t read = momentIn(publisher, "lastReadMs"); read != 0) {
        const bool gaveNothing = publisher.value("gaveNothing", Json{}) == Json(true);
        table.add({"  " + style.title("Last read"),
                   timeAndAge(read, nowMs) + (gaveNothing ? style.bad(", gave no value") : "")});
    }
    const std::string error = textIn(publisher, "error");
    const bool isPolled = publisher.value("rank", Json{}).is_number_integer();
    if (!isPolled && error.empty()) {
        return;
    }
    table.add({"  " + style.title("Last error"),
               error.empty() ? "none"
                             : style.bad(error) + ", " + timeAndAge(momentIn(publisher, "errorMs"), nowMs)});
}

void Explanation::addRequest(Table& table, const Style& style) const {
    if (!isRequestable()) {
        return;
    }
    if (!request) {
        table.add({"  " + style.title("Asked for"), "not among the last writes to the device"});
        return;
    }
    const std::string outcome =
        request->accepted
            ? "accepted by the device"
            : "refused by the device" + (request->error ? ": " + printable(*request->error) : std::string{});
    table.add({"  " + style.title("Asked for"), printable(request->asked) + " at " + request->time + ", by " +
                                                    (request->by ? writerText(*request->by) : "unknown") +
                                                    ": " + outcome});
}

void Explanation::addTriggers(Table& table, const Style& style) const {
    if (point.channel == nullptr || point.channel->alarmConfig.triggers.empty()) {
        table.add({"  " + style.title("Alarms"), "no triggers"});
        return;
    }
    for (const qz::CAlarmTrigger& trigger : point.channel->alarmConfig.triggers) {
        table.add({"  " + style.title("Trigger"), triggerText(trigger, *point.channel, style)});
    }
}

} // namespace velk::cli
