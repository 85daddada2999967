#include "cli/ListElements.h"

namespace velk::cli {

using velk::common::lwjson::Position;

ListElements::ListElements(std::string_view text) : whole{text}, skeleton{text} {
    bool inString = false;
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        const char letter = text[offset];
        if (letter == '\n') {
            ++line;
            lineStart = offset + 1;
        }
        if (!inString) {
            look(letter, offset);
            inString = letter == '"';
        } else if (letter == '\\') {
            ++offset;
        } else {
            inString = letter != '"';
        }
    }
}

void ListElements::look(char letter, std::size_t offset) {
    const bool isBlank = letter == ' ' || letter == '\n' || letter == '\r' || letter == '\t';
    const bool isEnd = letter == ',' || letter == ']' || letter == '}';
    if (isInList() && isEnd) {
        end(offset);
    } else if (isInList() && !isBlank) {
        begin(offset);
    }
    if (letter == '{' || letter == '[') {
        open += letter;
    } else if ((letter == '}' || letter == ']') && !open.empty()) {
        open.pop_back();
    }
}

void ListElements::begin(std::size_t offset) {
    if (started == std::string::npos) {
        started = offset;
        startedAt = {line, offset - lineStart + 1};
    }
}

void ListElements::end(std::size_t offset) {
    if (started == std::string::npos) {
        return;
    }
    elements.emplace(std::pair{startedAt.line, startedAt.column}, whole.substr(started, offset - started));
    for (std::size_t at = started; at < offset; ++at) {
        skeleton[at] = skeleton[at] == '\n' ? '\n' : ' ';
    }
    skeleton[started] = '0';
    started = std::string::npos;
}

std::string_view ListElements::at(const Position& position) const {
    const auto found = elements.find({position.line, position.column});
    return found == elements.end() ? std::string_view{} : found->second;
}

} // namespace velk::cli
