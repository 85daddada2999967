#pragma once

#include "powerdistribution/core/Value.h"

#include <string>
#include <string_view>

namespace velk::simulator {

/// `text` as a JSON string with its quotes. Bytes that are no UTF-8 come out as U+FFFD, so that an answer can
/// always be read.
std::string jsonText(std::string_view text);

/// The shortest number that reads back as the same; "null" for what JSON has no number for.
std::string jsonNumber(float number);
std::string jsonNumber(double number);

/// What a data point holds; an empty value is "null", a time its ISO 8601 text, an event log an array of its
/// entries.
std::string jsonValue(const powerdistribution::Value& value);

} // namespace velk::simulator
