#include "cli/SiteReport.h"

#include "cli/AlarmList.h"
#include "cli/StoreView.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

std::string textOf(const StoreView& view, const char* path) {
    const Point* point = view.find(path);
    return point == nullptr ? std::string{} : displayText(*point);
}

/// What the daemon notes of itself, and of whether it reaches the device, is no value of the device.
std::int64_t newestWrite(const StoreView& view) {
    std::int64_t newest = 0;
    for (const StoreView::Branch& branch : view.branches()) {
        for (std::size_t i = 0; branch.equipment && i < branch.pointCount; ++i) {
            const Point& point = view.points()[branch.firstPoint + i];
            if (point.channel != nullptr && !point.name.starts_with("CommunicationStatus.")) {
                newest = std::max(newest, point.channel->writtenMs);
            }
        }
    }
    return newest;
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json timeOrNull(std::int64_t ms) {
    return ms == 0 ? Json(nullptr) : Json(utcText(ms));
}

} // namespace

SiteReport siteReport(const std::string& site, tessapi::StoreSnapshot snapshot, const Style& style) {
    const StoreView view{std::move(snapshot)};
    const std::vector<RaisedAlarm> raised = raisedAlarms(view);
    SiteReport report;
    report.site = site;
    report.productName = textOf(view, "Attribute.ProductName");
    report.serialNumber = textOf(view, "Attribute.SerialNumber");
    report.communication = Communication{view}.device();
    report.worstLevel = raised.empty() ? "none" : levelText(raised.front().alarm.level);
    report.alarmCount = raised.size();
    report.alarms = (raised.empty() ? "none" : alarmCounts(raised, style)) +
                    (report.communication.good ? "" : " (last known)");
    report.lastValueMs = newestWrite(view);
    return report;
}

SiteReport failedSite(const std::string& site, const std::string& failure) {
    SiteReport report;
    report.site = site;
    report.failure = failure;
    return report;
}

std::vector<std::string> siteHeadings(const Style& style) {
    std::vector<std::string> cells;
    for (const char* heading : {"SITE", "DEVICE", "SERIAL", "COMMUNICATION", "ALARMS", "LAST VALUE"}) {
        cells.push_back(style.title(heading));
    }
    return cells;
}

std::vector<std::string> siteCells(const SiteReport& report, const Style& style, std::int64_t nowMs) {
    if (!report.failure.empty()) {
        return {report.site, "", "", style.bad("store cannot be read")};
    }
    const Connection& connection = report.communication;
    const std::string state = connection.good ? style.good(connection.state) : style.bad(connection.state);
    const std::string since =
        connection.sinceMs == 0 ? std::string{} : " since " + timeAndAge(connection.sinceMs, nowMs);
    return {report.site,         report.productName,
            report.serialNumber, state + since,
            report.alarms,       report.lastValueMs == 0 ? "never" : ageText(report.lastValueMs, nowMs)};
}

Json jsonOf(const SiteReport& report) {
    Json object;
    object["site"] = report.site;
    object["device"] = nullptr;
    object["communication"] = nullptr;
    object["alarms"] = nullptr;
    object["lastValue"] = nullptr;
    object["error"] = textOrNull(report.failure);
    if (report.failure.empty()) {
        object["device"] = {{"productName", textOrNull(report.productName)},
                            {"serialNumber", textOrNull(report.serialNumber)}};
        object["communication"] = {{"connected", report.communication.good},
                                   {"state", report.communication.state},
                                   {"since", timeOrNull(report.communication.sinceMs)}};
        object["alarms"] = {{"level", report.worstLevel}, {"count", report.alarmCount}};
        object["lastValue"] = timeOrNull(report.lastValueMs);
    }
    return object;
}

} // namespace velk::cli
