#include "cli/CommunicationNote.h"

#include "platform/common/WholeNumber.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

std::vector<CommunicationNote> CommunicationNote::parseAll(std::string_view text) {
    std::vector<CommunicationNote> notes;
    const nlohmann::json array = nlohmann::json::parse(text, nullptr, false);
    if (!array.is_array()) {
        return notes;
    }
    for (const nlohmann::json& element : array) {
        try {
            CommunicationNote note;
            note.timeMs = common::wholeNumber<std::int64_t>(element.at("timeMs"));
            note.device = element.at("device").get<std::string>();
            note.state = element.at("state").get<std::string>();
            notes.push_back(std::move(note));
        } catch (const nlohmann::json::exception&) {
            continue; // nothing that a daemon has written
        }
    }
    return notes;
}

} // namespace velk::cli
