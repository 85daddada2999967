#pragma once

#include "platform/tessapi/LevelAlarm.h"

#include <string>
#include <string_view>

namespace velk::cli {

/// Colours for people; gives the text unchanged where there are none to be. A plain value.
class Style {
public:
    explicit Style(bool withColour) : colour{withColour} {}

    /// With colours when the file is a terminal and the environment has no NO_COLOR (not empty) and no dumb
    /// TERM.
    static Style forFile(int descriptor);

    bool isColoured() const { return colour; }

    /// Whether `text` is, or begins as, one of the sequences that colours are made of here.
    static bool isSequence(std::string_view text);
    static bool beginsSequence(std::string_view text);

    std::string title(const std::string& text) const;
    std::string faint(const std::string& text) const;
    std::string good(const std::string& text) const;
    std::string bad(const std::string& text) const;
    std::string level(tessapi::LevelAlarm level, const std::string& text) const;

private:
    std::string paint(const char* code, const std::string& text) const;

    bool colour;
};

/// "critical", "warning", "info", "good", "none".
std::string levelText(tessapi::LevelAlarm level);

} // namespace velk::cli
