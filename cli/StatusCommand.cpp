#include "cli/StatusCommand.h"

#include "cli/AlarmList.h"
#include "cli/Communication.h"
#include "cli/Inquiry.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/PowerPath.h"
#include "cli/Table.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"
#include "cli/doctor/DaemonDiagnosis.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t TITLE_WIDTH = 15;

struct Row {
    const char* member;
    const char* path;
};

constexpr auto deviceRows = std::to_array<Row>({
    {"productName", "Attribute.ProductName"},
    {"model", "Attribute.Model"},
    {"friendlyName", "Attribute.FriendlyName"},
    {"vendor", "Attribute.Vendor"},
    {"serialNumber", "Attribute.SerialNumber"},
    {"firmwareVersion", "Attribute.FirmwareVersion"},
    {"location", "Attribute.Location"},
});

constexpr const char* SERVICE_STATE = "PowerEquipment.Status.OperatingStatus";

constexpr auto stateRows = std::to_array<Row>({
    {"mode", "Status.Mode"},
    {"health", "Status.HealthState"},
    {"operatingStatus", "Status.OperatingStatus"},
    {"service", SERVICE_STATE},
});

Json deviceJson(const StoreView& view, const Communication& communication) {
    if (view.branch(StoreView::POWER_DISTRIBUTION) == nullptr) {
        return nullptr;
    }
    Json device;
    for (const Row& row : deviceRows) {
        const Point* point = view.find(row.path);
        device[row.member] = point == nullptr ? Json(nullptr) : Json(displayText(*point));
    }
    device["fresh"] = communication.device().good;
    return device;
}

/// What a daemon that does not answer has said of itself.
bool isOfSilentDaemon(const Point& point, const Communication& communication) {
    return communication.isDaemonSilent() && point.path == SERVICE_STATE;
}

Json stateJson(const Point* point, const Communication& communication) {
    if (point == nullptr || point->channel == nullptr) {
        return nullptr;
    }
    const std::optional<std::string> label = labelOf(point->channel->value, *point->channel);
    return {{"value", jsonOf(point->channel->value)},
            {"text", label ? Json(*label) : Json(nullptr)},
            {"fresh", communication.isFresh(*point) && !isOfSilentDaemon(*point, communication)}};
}

Json communicationJson(const Connection& connection) {
    return {{"connected", connection.good},
            {"state", connection.state},
            {"since", connection.sinceMs == 0 ? Json(nullptr) : Json(utcText(connection.sinceMs))}};
}

void printJson(const Session& session, const StoreView& view, const Communication& communication) {
    Json document;
    document["device"] = deviceJson(view, communication);
    for (const Row& row : stateRows) {
        document[row.member] = stateJson(view.find(row.path), communication);
    }
    document["communication"] = communicationJson(communication.device());
    document["powerPath"] = jsonOf(powerPath(view, communication));
    document["alarms"] = Json::array();
    for (const RaisedAlarm& raised : raisedAlarms(view)) {
        Json object = jsonOf(raised);
        object["fresh"] = communication.isFresh(*raised.point);
        document["alarms"].push_back(std::move(object));
    }
    printDocument(session.out, document);
}

/// Behind what is not fresh.
std::string mark(bool fresh) {
    return fresh ? "" : " (last known)";
}

/// The texts of the points that there are, with the marks of those that are not fresh.
std::string joined(const StoreView& view, const Communication& communication, const PointReport& report,
                   std::initializer_list<std::pair<const char*, const char*>> wordsAndPaths) {
    std::string text;
    bool fresh = true;
    for (const auto& [word, path] : wordsAndPaths) {
        const Point* point = view.find(path);
        if (point == nullptr || (point->channel != nullptr && !point->channel->value.isValid())) {
            continue;
        }
        text += (text.empty() ? "" : ", ") + std::string{word} + report.briefValue(*point);
        fresh = fresh && communication.isFresh(*point);
    }
    return text.empty() ? text : text + mark(fresh);
}

void printRow(const Session& session, const std::string& title, const std::string& text) {
    if (!text.empty()) {
        session.out << session.style.title(title) << std::string(TITLE_WIDTH - displayWidth(title), ' ')
                    << text << "\n";
    }
}

void printDevice(const Session& session, const StoreView& view, const Communication& communication) {
    const PointReport report{communication, session.style, session.nowMs()};
    const auto row = [&](const char* title,
                         std::initializer_list<std::pair<const char*, const char*>> points) {
        printRow(session, title, joined(view, communication, report, points));
    };
    row("Device", {{"", "Attribute.ProductName"}, {"", "Attribute.Model"}, {"", "Attribute.Vendor"}});
    row("Name", {{"", "Attribute.FriendlyName"}, {"", "Attribute.Location"}});
    row("Serial", {{"", "Attribute.SerialNumber"}, {"firmware ", "Attribute.FirmwareVersion"}});
    row("State", {{"", "Status.Mode"}, {"health ", "Status.HealthState"}, {"", "Status.OperatingStatus"}});
    if (communication.isDaemonSilent()) {
        const std::string process = std::to_string(stateOfDaemon(view).process);
        printRow(session, "Service", session.style.bad("does not answer") + " (process " + process + ")");
    } else {
        row("Service", {{"", SERVICE_STATE}});
    }
}

Communication communicationOf(Session& session, const StoreView& view) {
    const bool isSilent = stateOfDaemon(view).kind == DaemonState::Kind::Running &&
                          Inquiry::isDaemonSilent(session, Communication{view}, Inquiry::SIGN_OF_LIFE);
    return Communication{view,
                         isSilent ? Communication::Daemon::silent : Communication::Daemon::asTheStoreSays};
}

std::string communicationText(const Session& session, const Connection& connection) {
    const std::string state =
        connection.good ? session.style.good(connection.state) : session.style.bad(connection.state);
    return connection.sinceMs == 0 ? state
                                   : state + " since " + timeAndAge(connection.sinceMs, session.nowMs());
}

std::string factText(const Style& style, const PathLine& line, const PathLine::Fact& fact) {
    if (!line.fresh) {
        return style.faint(fact.text);
    }
    switch (fact.tone) {
    case PathLine::Tone::Good:
        return style.good(fact.text);
    case PathLine::Tone::Bad:
        return style.bad(fact.text);
    case PathLine::Tone::Plain:
        break;
    }
    return fact.text;
}

void printSection(const Session& session, const PathSection& section) {
    std::size_t width = 0;
    for (const PathLine& line : section.lines) {
        width = std::max(width, displayWidth(line.name));
    }
    std::string title = section.title;
    for (const PathLine& line : section.lines) {
        std::string text = line.name;
        if (width != 0) {
            text += std::string(width + 2 - displayWidth(line.name), ' ');
        }
        std::string facts;
        for (const PathLine::Fact& fact : line.facts) {
            facts += (facts.empty() ? "" : ", ") + factText(session.style, line, fact);
        }
        printRow(session, title, text + facts + mark(line.fresh));
        title.clear();
    }
}

/// "1 critical, 2 warning".
std::string alarmSummary(const Session& session, const std::vector<RaisedAlarm>& alarms, bool fresh) {
    if (alarms.empty()) {
        return fresh ? session.style.good("none") : session.style.faint("none") + mark(fresh);
    }
    return alarmCounts(alarms, session.style);
}

void printAlarms(const Session& session, const StoreView& view, const Communication& communication) {
    const std::vector<RaisedAlarm> alarms = raisedAlarms(view);
    printRow(session, "Alarms", alarmSummary(session, alarms, communication.device().good));
    Table list;
    for (const RaisedAlarm& raised : alarms) {
        list.add({"  " + session.style.level(raised.alarm.level, levelText(raised.alarm.level)),
                  raised.point->path, briefText(*raised.point) + mark(communication.isFresh(*raised.point)),
                  raised.alarm.code});
    }
    list.print(session.out);
}

void printText(const Session& session, const StoreView& view, const Communication& communication) {
    printDevice(session, view, communication);
    printRow(session, "Communication", communicationText(session, communication.device()));
    for (const PathSection& section : powerPath(view, communication)) {
        printSection(session, section);
    }
    printAlarms(session, view, communication);
}

} // namespace

ExitCode runStatus(Session& session) {
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication = communicationOf(session, view);
    if (session.json) {
        printJson(session, view, communication);
    } else {
        printText(session, view, communication);
    }
    if (view.branch(StoreView::POWER_DISTRIBUTION) == nullptr) {
        session.err << "tess: no device has been found yet\n";
    }
    return ExitCode::Done;
}

} // namespace velk::cli
