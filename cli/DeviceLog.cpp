#include "cli/DeviceLog.h"

#include "cli/TimeText.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

/// Throws what the parser throws when something is missing or of another kind.
DeviceLog::Entry entryOf(const nlohmann::json& json) {
    DeviceLog::Entry entry;
    json.at("sequence").get_to(entry.sequence);
    json.at("id").get_to(entry.id);
    entry.timeMs = std::int64_t{json.at("time").get<std::uint32_t>()} * 1000;
    json.at("severity").get_to(entry.severity);
    json.at("code").get_to(entry.code);
    json.at("status").get_to(entry.status);
    json.at("mode").get_to(entry.mode);
    json.at("reason").get_to(entry.reason);
    json.at("data").get_to(entry.data);
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
            log.errorSinceMs = std::int64_t{json.at("errorTime").get<std::uint32_t>()} * 1000;
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
