#include "cli/JournalEntry.h"

#include "platform/common/WholeNumber.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

using Json = nlohmann::json;

std::optional<JournalEntry> entryOf(const Json& json) {
    try {
        JournalEntry entry;
        entry.sequence = common::wholeNumber<std::uint64_t>(json.at("sequence"));
        entry.device = json.at("device").get<std::string>();
        entry.channel = json.at("channel").get<std::string>();
        entry.asked = json.at("asked").get<std::string>();
        entry.accepted = json.at("accepted").get<bool>();
        if (const Json& error = json.at("error"); !error.is_null()) {
            entry.error = error.get<std::string>();
        }
        entry.time = json.at("time").get<std::string>();
        if (const auto at = json.find("changedMs"); at != json.end() && at->is_number_integer()) {
            entry.changedMs = at->get<std::int64_t>();
        }
        if (const auto by = json.find("by"); by != json.end() && by->is_object()) {
            entry.by = JournalEntry::Writer{
                by->value("program", ""), by->value("user", ""),
                by->contains("pid") ? common::wholeNumber<std::int64_t>(by->at("pid")) : 0};
        }
        return entry;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

} // namespace

velk::common::Uuid JournalEntry::deviceUuid() {
    return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "Daemon"};
}

std::optional<JournalEntry> JournalEntry::parse(std::string_view text) {
    return entryOf(Json::parse(text, nullptr, false));
}

std::optional<JournalEntry> JournalEntry::newestOf(const std::vector<JournalEntry>& notes,
                                                   const std::string& device, const std::string& channel) {
    std::optional<JournalEntry> newest;
    for (const JournalEntry& note : notes) {
        if (note.device == device && note.channel == channel) {
            newest = note;
        }
    }
    return newest;
}

std::vector<JournalEntry> JournalEntry::parseAll(std::string_view text) {
    std::vector<JournalEntry> entries;
    const Json array = Json::parse(text, nullptr, false);
    if (!array.is_array()) {
        return entries;
    }
    for (const Json& element : array) {
        if (const std::optional<JournalEntry> entry = entryOf(element)) {
            entries.push_back(*entry);
        }
    }
    return entries;
}

} // namespace velk::cli
