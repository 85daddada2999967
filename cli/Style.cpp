#include "cli/Style.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace velk::cli {

namespace {

std::string_view environment(const char* name) {
    const char* text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here changes it
    return text == nullptr ? std::string_view{} : std::string_view{text};
}

} // namespace

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
