#include "plugins/simulator/world/Glob.h"

namespace velk::simulator {

bool matchesGlob(std::string_view pattern, std::string_view text) {
    std::size_t at = 0;
    std::size_t inPattern = 0;
    std::size_t star = std::string_view::npos;
    std::size_t starredTo = 0;
    while (at < text.size()) {
        if (inPattern < pattern.size() && pattern[inPattern] == '*') {
            star = inPattern++;
            starredTo = at;
        } else if (inPattern < pattern.size() && pattern[inPattern] == text[at]) {
            ++inPattern;
            ++at;
        } else if (star != std::string_view::npos) {
            inPattern = star + 1; // the last star takes one character more
            at = ++starredTo;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', inPattern) == std::string_view::npos;
}

} // namespace velk::simulator
