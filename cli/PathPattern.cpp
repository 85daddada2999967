#include "cli/PathPattern.h"

#include <cstddef>
#include <utility>

namespace velk::cli {

namespace {

bool nameMatches(std::string_view pattern, std::string_view name) {
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t star = std::string_view::npos; // the last '*' passed, and the letters that it has taken
    std::size_t taken = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            taken = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

using Names = std::vector<std::string>;

/// Name by name with all places at once, since a search that turns back takes ages over a few "**".
bool namesMatch(const Names& pattern, const Names& names) {
    std::vector<bool> reached(names.size() + 1); // whether the pattern so far stands for so many names
    reached.front() = true;
    for (std::size_t p = 0; p < pattern.size(); ++p) {
        std::vector<bool> next(names.size() + 1);
        const bool isRest = pattern[p] == "*" && p + 1 == pattern.size();
        for (std::size_t n = 0; n < reached.size(); ++n) {
            if (pattern[p] == "**") {
                next[n] = reached[n] || (n > 0 && next[n - 1]);
            } else if (isRest) {
                next[n] = n > 0 && (reached[n - 1] || next[n - 1]);
            } else {
                next[n] = n > 0 && reached[n - 1] && nameMatches(pattern[p], names[n - 1]);
            }
        }
        reached = std::move(next);
    }
    return reached.back();
}

} // namespace

PathPattern::PathPattern(std::string_view text) :
    whole{text}, names{namesOf(text)}, glob{text.find_first_of("*?") != std::string_view::npos} {}

bool PathPattern::matches(std::string_view path) const {
    return glob ? namesMatch(names, namesOf(path)) : path == whole;
}

std::vector<std::string> namesOf(std::string_view path) {
    std::vector<std::string> names;
    while (!path.empty()) {
        const std::size_t dot = path.find('.');
        names.emplace_back(path.substr(0, dot));
        path = dot == std::string_view::npos ? std::string_view{} : path.substr(dot + 1);
    }
    return names;
}

} // namespace velk::cli
