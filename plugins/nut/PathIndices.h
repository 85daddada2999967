#pragma once

#include "powerdistribution/core/EPath.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velk::nut {

/// The numbers in the path of a data point. A plain value.
struct PathIndices {
    std::uint32_t circuit{0}; ///< the first, such as that of an outlet; 0 for none
    std::uint32_t phase{0};   ///< the second; 0 for none

    /// Empty for a path with a range or any-index: a variable has one number.
    static std::optional<PathIndices> of(const powerdistribution::EPath& path);

    /// The variable's name of a pattern: '#' stands for the circuit, '%' for the phase and '&' for the phase
    /// after it, so that "input.L%-L&.voltage" is "input.L3-L1.voltage" for the third.
    std::string expand(std::string_view pattern) const;
};

} // namespace velk::nut
