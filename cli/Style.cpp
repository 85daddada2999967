#include "cli/Style.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace velk::cli {

namespace {

std::string_view environment(const char* name) {
    const char* text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here changes it
    return text == nullptr ? std::string_view{} : std::string_view{text};
}

/// All that `paint` is asked for, and the end of each.
constexpr auto sequences = std::to_array<std::string_view>(
    {"\033[0m", "\033[1m", "\033[2m", "\033[31m", "\033[32m", "\033[33m", "\033[36m", "\033[1;31m"});

} // namespace

bool Style::isSequence(std::string_view text) {
    return std::find(sequences.begin(), sequences.end(), text) != sequences.end();
}

bool Style::beginsSequence(std::string_view text) {
    return std::any_of(sequences.begin(), sequences.end(),
                       [text](std::string_view sequence) { return sequence.starts_with(text); });
}

Style Style::forFile(int descriptor) {
    return Style{isatty(descriptor) == 1 && environment("NO_COLOR").empty() && environment("TERM") != "dumb"};
}

std::string Style::paint(const char* code, const std::string& text) const {
    return colour ? std::string{"\033["} + code + "m" + text + "\033[0m" : text;
}

std::string Style::title(const std::string& text) const {
    return paint("1", text);
}

std::string Style::faint(const std::string& text) const {
    return paint("2", text);
}

std::string Style::good(const std::string& text) const {
    return paint("32", text);
}

std::string Style::bad(const std::string& text) const {
    return paint("31", text);
}

std::string Style::level(tessapi::LevelAlarm level, const std::string& text) const {
    switch (level) {
    case tessapi::LevelAlarm::critical:
        return paint("1;31", text);
    case tessapi::LevelAlarm::warning:
        return paint("33", text);
    case tessapi::LevelAlarm::info:
        return paint("36", text);
    default:
        return text;
    }
}

std::string levelText(tessapi::LevelAlarm level) {
    switch (level) {
    case tessapi::LevelAlarm::critical:
        return "critical";
    case tessapi::LevelAlarm::warning:
        return "warning";
    case tessapi::LevelAlarm::info:
        return "info";
    case tessapi::LevelAlarm::good:
        return "good";
    case tessapi::LevelAlarm::none:
        break;
    }
    return "none";
}

} // namespace velk::cli
