#include "cli/PathPattern.h"

#include <cstddef>

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

bool namesMatch(const Names& pattern, std::size_t p, const Names& names, std::size_t n) {
    if (p == pattern.size()) {
        return n == names.size();
    }
    if (pattern[p] == "**") {
        return namesMatch(pattern, p + 1, names, n) ||
               (n < names.size() && namesMatch(pattern, p, names, n + 1));
    }
    if (n == names.size()) {
        return false;
    }
    if (pattern[p] == "*" && p + 1 == pattern.size()) {
        return true;
    }
    return nameMatches(pattern[p], names[n]) && namesMatch(pattern, p + 1, names, n + 1);
}

} // namespace

PathPattern::PathPattern(std::string_view text) :
    whole{text}, names{namesOf(text)}, glob{text.find_first_of("*?") != std::string_view::npos} {}

bool PathPattern::matches(std::string_view path) const {
    return glob ? namesMatch(names, 0, namesOf(path), 0) : path == whole;
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
