#include "plugins/nut/ProtocolLine.h"

#include "plugins/nut/LinkError.h"

#include <algorithm>

namespace velk::nut {

namespace {

/// Takes one quoted word off the front of `rest`, which begins behind the opening quote.
std::string takeQuoted(std::string_view& rest) {
    std::string word;
    for (std::size_t at = 0; at < rest.size(); ++at) {
        if (rest[at] == '"') {
            rest.remove_prefix(at + 1);
            return word;
        }
        if (rest[at] == '\\' && at + 1 < rest.size()) {
            ++at;
        }
        word += rest[at];
    }
    throw LinkError{"a quote in the server's line does not end"};
}

std::string takePlain(std::string_view& rest) {
    const std::size_t length = std::min(rest.find_first_of(" \t\r"), rest.size());
    std::string word{rest.substr(0, length)};
    rest.remove_prefix(length);
    return word;
}

} // namespace

std::vector<std::string> splitLine(std::string_view line) {
    std::vector<std::string> words;
    for (;;) {
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string_view::npos) {
            return words;
        }
        line.remove_prefix(start);
        if (line.front() == '"') {
            line.remove_prefix(1);
            words.push_back(takeQuoted(line));
        } else {
            words.push_back(takePlain(line));
        }
    }
}

std::string quote(std::string_view word) {
    std::string text{'"'};
    for (const char letter : word) {
        if (letter == '"' || letter == '\\') {
            text += '\\';
        }
        text += letter;
    }
    return text += '"';
}

bool isSafeValue(std::string_view value) {
    return std::none_of(value.begin(), value.end(), [](char letter) {
        const auto code = static_cast<unsigned char>(letter);
        return letter == '#' || letter == '"' || letter == '\\' || code < 0x20 || code == 0x7f;
    });
}

} // namespace velk::nut
