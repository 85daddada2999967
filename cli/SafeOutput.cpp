#include "cli/SafeOutput.h"

#include "cli/Style.h"

namespace velk::cli {

namespace {

constexpr char ESCAPE = '\033';
constexpr char DELETE = '\x7F';
constexpr char LATIN_LEAD = '\xC2'; // of two bytes that may be a control character

bool isControl(char letter) {
    const auto code = static_cast<unsigned char>(letter);
    return code < 0x20 && letter != '\n' && letter != '\t';
}

} // namespace

SafeOutput::SafeOutput(std::ostream& guarded, bool toTerminal, bool colours) :
    stream{guarded}, behind{guarded.rdbuf()}, terminal{toTerminal}, coloured{colours} {
    stream.rdbuf(this);
}

SafeOutput::~SafeOutput() {
    releaseHeld();
    // The state of the stream says what was lost; to give it its buffer back clears that.
    const std::ios::iostate state = stream.rdstate() | (pass() ? std::ios::goodbit : std::ios::badbit);
    stream.rdbuf(behind);
    stream.setstate(state);
}

SafeOutput::int_type SafeOutput::overflow(int_type letter) {
    if (!traits_type::eq_int_type(letter, traits_type::eof())) {
        take(traits_type::to_char_type(letter));
    }
    return pass() ? traits_type::not_eof(letter) : traits_type::eof();
}

std::streamsize SafeOutput::xsputn(const char* text, std::streamsize size) {
    for (std::streamsize i = 0; i < size; ++i) {
        take(text[i]);
    }
    return pass() ? size : 0;
}

int SafeOutput::sync() {
    return behind->pubsync();
}

void SafeOutput::take(char letter) {
    if (!held.empty()) {
        takeHeld(letter);
    } else if ((letter == ESCAPE && coloured) || (letter == LATIN_LEAD && terminal)) {
        held = letter;
    } else {
        ready += isControl(letter) || (letter == DELETE && terminal) ? '?' : letter;
    }
}

/// U+0080 to U+009F are control characters as well: the bytes C2 80 to C2 9F.
void SafeOutput::takeHeld(char letter) {
    if (held.front() == LATIN_LEAD) {
        const auto code = static_cast<unsigned char>(letter);
        const bool isSecond = code >= 0x80 && code <= 0xBF;
        ready += isSecond && code <= 0x9F ? "?" : held + (isSecond ? std::string{letter} : std::string{});
        held.clear();
        if (!isSecond) {
            take(letter);
        }
        return;
    }
    const std::string grown = held + letter;
    if (Style::isSequence(grown)) {
        ready += grown;
        held.clear();
    } else if (Style::beginsSequence(grown)) {
        held = grown;
    } else {
        releaseHeld();
        take(letter);
    }
}

void SafeOutput::releaseHeld() {
    if (!held.empty()) {
        ready += held.front() == ESCAPE ? "?" + held.substr(1) : held;
        held.clear();
    }
}

bool SafeOutput::pass() {
    const auto size = static_cast<std::streamsize>(ready.size());
    const bool isDone = behind->sputn(ready.data(), size) == size;
    ready.clear();
    return isDone;
}

} // namespace velk::cli
