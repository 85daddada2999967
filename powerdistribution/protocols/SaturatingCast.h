#pragma once

#include <concepts>
#include <limits>

namespace velk::powerdistribution::protocols {

/// The integer that remains when the fraction of `number` is cut off; the nearest end of the range when it
/// lies outside, and 0 for NaN, where the language leaves the result open.
template <std::integral Integer>
constexpr Integer saturatingCast(float number) {
    using Limits = std::numeric_limits<Integer>;
    if (number != number) {
        return 0;
    }
    // The highest integer may have no exact float; the conversion then gives the next power of two, which is
    // the first number that is too large.
    if (number >= static_cast<float>(Limits::max())) {
        return Limits::max();
    }
    if (number <= static_cast<float>(Limits::min())) {
        return Limits::min();
    }
    return static_cast<Integer>(number);
}

} // namespace velk::powerdistribution::protocols
