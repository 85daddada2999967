#include "cli/DeviceLog.h"

#include "cli/TimeText.h"
#include "platform/common/WholeNumber.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

/// Throws what the parser throws when something is missing or of another kind.
DeviceLog::Entry entryOf(const nlohmann::json& json) {
    DeviceLog::Entry entry;
    using common::takeWhole;
    takeWhole(json.at("sequence"), entry.sequence);
    takeWhole(json.at("id"), entry.id);
    entry.timeMs = std::int64_t{common::wholeNumber<std::uint32_t>(json.at("time"))} * 1000;
    takeWhole(json.at("severity"), entry.severity);
    takeWhole(json.at("code"), entry.code);
    takeWhole(json.at("status"), entry.status);
    takeWhole(json.at("mode"), entry.mode);
    takeWhole(json.at("reason"), entry.reason);
    takeWhole(json.at("data"), entry.data);
    return entry;
}

void addEntry(DeviceLog& log, const nlohmann::json& json) {
    try {
        log.entries.push_back(entryOf(json));
    } catch (const nlohmann::json::exception&) {
        ++log.unreadable;
    }
}

} // namespace

std::optional<DeviceLog> DeviceLog::parse(std::string_view text, std::string& why) {
    try {
        const nlohmann::json json = nlohmann::json::parse(text);
        DeviceLog log;
        log.device = json.at("device").get<std::string>();
        if (const nlohmann::json& error = json.at("error"); !error.is_null()) {
            log.error = error.get<std::string>();
            log.errorSinceMs = std::int64_t{common::wholeNumber<std::uint32_t>(json.at("errorTime"))} * 1000;
        }
        for (const nlohmann::json& entry : json.at("entries")) {
            addEntry(log, entry);
        }
        return log;
    } catch (const nlohmann::json::exception& failure) {
        why = failure.what();
        return std::nullopt;
    }
}

nlohmann::ordered_json jsonOf(const DeviceLog::Entry& entry) {
    nlohmann::ordered_json json;
    json["sequence"] = entry.sequence;
    json["id"] = entry.id;
    json["time"] = utcText(entry.timeMs);
    json["severity"] = entry.severity;
    json["code"] = entry.code;
    json["status"] = entry.status;
    json["mode"] = entry.mode;
    json["reason"] = entry.reason;
    json["data"] = entry.data;
    return json;
}

} // namespace velk::cli
