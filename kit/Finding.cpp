#include "kit/Finding.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <sstream>

namespace velk::kit {

namespace {

constexpr std::size_t LONGEST_TEXT = 60;

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Length of the UTF-8 sequence that begins at `at`, or 0 when none does.
std::size_t sequenceAt(const std::string& text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    std::size_t length = 0;
    if (first < 0x80U) {
        length = 1;
    } else if (first >= 0xC2U && first < 0xE0U) {
        length = 2;
    } else if (first >= 0xE0U && first < 0xF0U) {
        length = 3;
    } else if (first >= 0xF0U && first < 0xF5U) {
        length = 4;
    }
    if (at + length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[at + i])) {
            return 0;
        }
    }
    return length;
}

bool isControl(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20U || code == 0x7FU;
}

std::string escapedControl(char byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned int>(byte));
    return text.data();
}

} // namespace

std::string to_string(Finding::Severity severity) {
    switch (severity) {
    case Finding::Severity::Error:
        return "error";
    case Finding::Severity::Warning:
        return "warning";
    case Finding::Severity::Note:
        break;
    }
    return "note";
}

std::string lineOf(const Finding& finding) {
    return to_string(finding.severity) + ": " + finding.path + ": expected " + finding.expected + "; came " +
           finding.came;
}

std::string jsonOf(const Finding& finding) {
    return R"({"severity": )" + quoted(to_string(finding.severity)) + R"(, "path": )" + quoted(finding.path) +
           R"(, "expected": )" + quoted(finding.expected) + R"(, "came": )" + quoted(finding.came) + "}";
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = sequenceAt(text, at);
        if (length == 0) {
            result += "\xEF\xBF\xBD";
            ++at;
        } else if (isControl(text[at])) {
            result += escapedControl(text[at]);
            ++at;
        } else {
            result += text[at] == '"' || text[at] == '\\' ? "\\" : "";
            result += text.substr(at, length);
            at += length;
        }
    }
    return result + "\"";
}

std::string describe(const powerdistribution::Value& value) {
    if (!value.hasValue()) {
        return "empty";
    }
    if (const auto* text = value.getIf<std::string>()) {
        const bool isLong = text->size() > LONGEST_TEXT;
        return "std::string " + quoted(text->substr(0, LONGEST_TEXT)) + (isLong ? "…" : "");
    }
    if (const auto* flag = value.getIf<bool>()) {
        return *flag ? "bool true" : "bool false";
    }
    std::ostringstream text;
    text << typeName(value) << ' ' << value;
    return text.str();
}

bool isPrintable(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = sequenceAt(text, at);
        if (length == 0 || isControl(text[at])) {
            return false;
        }
        at += length;
    }
    return true;
}

} // namespace velk::kit
