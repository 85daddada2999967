#pragma once

#include "cli/Point.h"
#include "platform/qz/CValue.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace velk::cli {

/// The text with question marks in place of control characters: what a device says must not move the cursor
/// or paint the terminal.
std::string printable(std::string text);

/// The value as the store's own notation has it, which is also how the daemon notes what was asked:
/// "true", "230.1", "2026-11-21T13:38:11.000Z", the text itself.
std::string plainText(const qz::CValue& value);

/// The value for people: a state by its label, a boolean as "yes" or "no", a number with its unit, a time in
/// local time, a delay of -1 s as "none"; "-" for no value. Control characters of a text become question
/// marks.
std::string displayText(const qz::CValue& value, const tessapi::ChannelRecord& channel);

/// The point's present value for people.
std::string displayText(const Point& point);

/// The same, but a measure with no more digits than people read: "4.37 A", not "4.370471 A".
std::string briefText(const qz::CValue& value, const tessapi::ChannelRecord& channel);
std::string briefText(const Point& point);

/// The label of a state, that of the channel before that of the catalogue; empty optional for a value that
/// has none.
std::optional<std::string> labelOf(const qz::CValue& value, const tessapi::ChannelRecord& channel);

/// The value for programs: numbers as numbers in their shortest form, a timestamp as ISO 8601 in UTC, bytes
/// in hexadecimal; null for none and for what JSON cannot say (not a number, infinite).
nlohmann::ordered_json jsonOf(const qz::CValue& value);

} // namespace velk::cli
