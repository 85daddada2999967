#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

/// A path as a person writes it, perhaps with wildcards. Paths are names joined by dots.
///
/// `?` stands for one letter and `*` for any letters of one name; a `*` that is the whole last name stands
/// for everything below, and `**` for any number of names, also none: "Inputs.*.Measure.Voltage",
/// "Outlets.1.*", "**.Voltage".
class PathPattern {
public:
    explicit PathPattern(std::string_view text);

    /// Whether there is a wildcard in it.
    bool isGlob() const { return glob; }

    bool matches(std::string_view path) const;

    const std::string& text() const { return whole; }

private:
    std::string whole;
    std::vector<std::string> names;
    bool glob;
};

/// The names of a path; "" gives none.
std::vector<std::string> namesOf(std::string_view path);

} // namespace velk::cli
