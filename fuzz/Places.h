#pragma once

#include "fuzz/Fuzz.h"
#include "platform/common/lwjson/Deserializer.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace velk::fuzz {

/// A place that a message tells lies in the text, or right behind its end.
inline void demandPlace(std::string_view text, const velk::common::lwjson::Position& place) {
    std::size_t lines = 1;
    std::size_t begin = 0;
    while (lines < place.line) {
        const std::size_t feed = text.find('\n', begin);
        demand(feed != std::string_view::npos, "the message names a line behind the end of the text");
        begin = feed + 1;
        ++lines;
    }
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    demand(place.line >= 1 && place.column >= 1, "lines and columns count from 1");
    demand(place.column <= end - begin + 1, "the message names a column behind the end of its line");
}

/// As `demandPlace` for a message "PREFIX:LINE:COLUMN: reason".
inline void demandPlacedMessage(std::string_view text, const std::string& message,
                                const std::string& prefix) {
    demand(message.rfind(prefix + ":", 0) == 0, "the message does not begin with its file: " + message);
    std::size_t used = 0;
    velk::common::lwjson::Position place;
    const std::string rest = message.substr(prefix.size() + 1);
    place.line = std::stoul(rest, &used);
    const std::string second = rest.substr(used);
    demand(second.rfind(":", 0) == 0, "the message has no column: " + message);
    place.column = std::stoul(second.substr(1), &used);
    demand(second.substr(1 + used).rfind(": ", 0) == 0, "the message has no reason: " + message);
    demandPlace(text, place);
}

} // namespace velk::fuzz
