#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velk::nut {

/// What the server says may be written to a variable. A plain value; nothing said means no limit known.
struct VariableLimits {
    std::optional<std::size_t> maxLength; ///< of a text
    std::vector<std::string> words;       ///< the only values allowed
    std::vector<std::pair<std::string, std::string>>
        ranges; ///< first and last of each, as the server gave them
};

} // namespace velk::nut
