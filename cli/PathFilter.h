#pragma once

#include "cli/PathPattern.h"

#include <string>

namespace velk::cli {

/// Which paths a person wants to hear of: all, one, all below a part, or those that a glob matches. It asks
/// nothing of the store: what happened may concern something that is gone.
class PathFilter {
public:
    /// "" is for all.
    explicit PathFilter(const std::string& wanted) : pattern{wanted} {}

    bool takesAll() const { return pattern.text().empty(); }

    bool takes(const std::string& path) const {
        return takesAll() || pattern.matches(path) ||
               (!pattern.isGlob() && path.starts_with(pattern.text() + "."));
    }

private:
    PathPattern pattern;
};

} // namespace velk::cli
