#pragma once

#include "powerdistribution/core/EPath.h"

namespace velk::powerdistribution {

/// Short names for the ends of an index range in paths and rule tables.
inline constexpr velk::common::TAny anyIndex{};
constexpr velk::common::TRange<unsigned int> oneTo(unsigned int last) {
    return {1, last};
}

} // namespace velk::powerdistribution
