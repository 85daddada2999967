#pragma once

#include "powerdistribution/core/Value.h"

#include <string>

namespace velk::simulator {

/// What a data point holds, as JSON: an empty value is "null", a time its ISO 8601 text, an event log an
/// array of its entries.
std::string jsonValue(const powerdistribution::Value& value);

} // namespace velk::simulator
