#include "platform/common/lwjson/JsonSource.h"

namespace velk::common::lwjson {

namespace {

// Together still far below the greatest double.
constexpr std::size_t DIGITS_SHOWN = 100;
constexpr std::size_t EXPONENT_DIGITS_SHOWN = 1;

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

} // namespace

bool JsonSource::atEnd() {
    exhausted = exhausted || next == text.size();
    return next == text.size();
}

void JsonSource::advance() {
    const char current = text[next++];
    if (inString || current == '"') {
        noteString(current);
    } else {
        noteNumber(current);
        skipSurplusDigits();
    }
}

void JsonSource::noteString(char current) {
    digits = 0;
    inExponent = false;
    if (escaped) {
        escaped = false;
    } else if (current == '\\') {
        escaped = inString;
    } else if (current == '"') {
        inString = !inString;
    }
}

void JsonSource::noteNumber(char current) {
    if (isDigit(current)) {
        ++digits;
        return;
    }
    const bool isSign = current == '+' || current == '-';
    inExponent = current == 'e' || current == 'E' || (inExponent && isSign);
    digits = 0;
}

void JsonSource::skipSurplusDigits() {
    const std::size_t shown = inExponent ? EXPONENT_DIGITS_SHOWN : DIGITS_SHOWN;
    while (digits >= shown && next < text.size() && isDigit(text[next])) {
        ++next;
    }
}

Position JsonSource::positionOf(std::size_t offset) {
    if (offset < linesCountedTo) {
        linesCountedTo = 0;
        lineStart = 0;
        line = 1;
    }
    for (; linesCountedTo < offset; ++linesCountedTo) {
        if (text[linesCountedTo] == '\n') {
            ++line;
            lineStart = linesCountedTo + 1;
        }
    }
    return {line, offset - lineStart + 1};
}

} // namespace velk::common::lwjson
