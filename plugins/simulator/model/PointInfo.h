#pragma once

#include "powerdistribution/core/Value.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velk::simulator {

using powerdistribution::Value;

/// The alternative of `Value` in which a point travels.
enum class PointType : std::uint8_t { Bool, Int32, Uint32, Float, Time, Text, Log };

/// "bool", "int32", "uint32", "float", "timestamp", "string", "log".
std::string_view to_string(PointType type);

/// Whether `value` holds the alternative of `type`. False for an empty value.
bool isOfType(const Value& value, PointType type);

/// What a point is and which values it takes. A plain value.
struct PointInfo {
    PointType type{PointType::Bool};
    bool readable{true};
    bool writable{false};
    std::optional<double> min;          ///< lowest number that a write may give, included
    std::optional<double> max;          ///< highest one, included
    std::vector<std::uint32_t> choices; ///< the states of a multi-state setting; empty: no such list
};

} // namespace velk::simulator
