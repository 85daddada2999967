#include "plugins/simulator/world/JsonText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace velk::simulator {

namespace {

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";

/// Length of the UTF-8 sequence at the front of `text`; 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length > text.size()) {
        return 0;
    }
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    const bool isOverlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    const bool isNoCharacter = (lead == 0xED && byte(1) > 0x9F) || (lead == 0xF4 && byte(1) > 0x8F);
    return isOverlong || isNoCharacter ? 0 : length;
}

std::string escaped(char character) {
    switch (character) {
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    case '\n':
        return "\\n";
    case '\t':
        return "\\t";
    default:
        break;
    }
    if (static_cast<unsigned char>(character) >= 0x20) {
        return std::string{character};
    }
    constexpr std::string_view digits = "0123456789abcdef";
    return std::string{"\\u00"} + digits[static_cast<unsigned char>(character) >> 4U] +
           digits[static_cast<unsigned char>(character) & 0xFU];
}

template <typename T>
std::string shortest(T number) {
    if (!std::isfinite(number)) {
        return "null";
    }
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
}

} // namespace

std::string jsonText(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) {
            result += REPLACEMENT;
        } else if (length == 1) {
            result += escaped(text.front());
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result + "\"";
}

std::string jsonNumber(float number) {
    return shortest(number);
}

std::string jsonNumber(double number) {
    return shortest(number);
}

} // namespace velk::simulator
