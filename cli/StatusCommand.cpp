#include "cli/StatusCommand.h"

#include "cli/AlarmList.h"
#include "cli/Communication.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/Table.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

struct Row {
    const char* title;
    const char* member;
    const char* path;
};

constexpr auto deviceRows = std::to_array<Row>({
    {"Product", "productName", "Attribute.ProductName"},
    {"Model", "model", "Attribute.Model"},
    {"Name", "friendlyName", "Attribute.FriendlyName"},
    {"Vendor", "vendor", "Attribute.Vendor"},
    {"Serial", "serialNumber", "Attribute.SerialNumber"},
    {"Firmware", "firmwareVersion", "Attribute.FirmwareVersion"},
    {"Location", "location", "Attribute.Location"},
});

constexpr auto stateRows = std::to_array<Row>({
    {"Mode", "mode", "Status.Mode"},
    {"Health", "health", "Status.HealthState"},
    {"Operation", "operatingStatus", "Status.OperatingStatus"},
    {"Service", "service", "PowerEquipment.Status.OperatingStatus"},
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

Json stateJson(const Point* point, const Communication& communication) {
    if (point == nullptr || point->channel == nullptr) {
        return nullptr;
    }
    const std::optional<std::string> label = labelOf(point->channel->value, *point->channel);
    return {{"value", jsonOf(point->channel->value)},
            {"text", label ? Json(*label) : Json(nullptr)},
            {"fresh", communication.isFresh(*point)}};
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
    document["alarms"] = Json::array();
    for (const RaisedAlarm& raised : raisedAlarms(view)) {
        Json object = jsonOf(raised);
        object["fresh"] = communication.isFresh(*raised.point);
        document["alarms"].push_back(std::move(object));
    }
    printDocument(session.out, document);
}

/// Behind a value that is not fresh.
std::string mark(const Communication& communication, const Point& point) {
    return communication.isFresh(point) ? "" : " (last known)";
}

std::string communicationText(const Session& session, const Connection& connection) {
    const std::string state =
        connection.good ? session.style.good(connection.state) : session.style.bad(connection.state);
    return connection.sinceMs == 0 ? state
                                   : state + " since " + timeAndAge(connection.sinceMs, session.nowMs());
}

std::string alarmSummary(const Session& session, const std::vector<RaisedAlarm>& alarms) {
    return alarms.empty()
               ? session.style.good("none")
               : session.style.level(alarms.front().alarm.level, std::to_string(alarms.size()) + " active");
}

void printText(const Session& session, const StoreView& view, const Communication& communication) {
    const PointReport report{communication, session.style, session.nowMs()};
    const Connection connection = communication.device();
    Table table;
    const auto addRow = [&](const Row& row) {
        if (const Point* point = view.find(row.path)) {
            table.add({session.style.title(row.title), report.value(*point) + mark(communication, *point)});
        }
    };
    std::for_each(deviceRows.begin(), deviceRows.end(), addRow);
    std::for_each(stateRows.begin(), stateRows.end(), addRow);
    table.add({session.style.title("Communication"), communicationText(session, connection)});
    const std::vector<RaisedAlarm> alarms = raisedAlarms(view);
    table.add({session.style.title("Alarms"), alarmSummary(session, alarms)});
    table.print(session.out);
    Table list;
    for (const RaisedAlarm& raised : alarms) {
        list.add({"  " + session.style.level(raised.alarm.level, levelText(raised.alarm.level)),
                  raised.point->path, displayText(*raised.point) + mark(communication, *raised.point),
                  raised.alarm.code});
    }
    list.print(session.out);
}

} // namespace

ExitCode runStatus(Session& session) {
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication{view};
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
