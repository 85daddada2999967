#pragma once

// What the texts of a device mean. Devices and drivers write much that is no value: then the result is empty,
// never 0.

#include "platform/common/UnixTime.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velk::nut {

/// Without blanks and control characters at both ends, and with every run of them inside made one blank.
std::string collapsed(std::string_view text);
std::string lowerCase(std::string_view text);

/// An optional sign, digits with at most one dot among them, nothing else; leading zeros are decimal, the
/// locale does not matter. At most a billion either way: no quantity of a device is larger.
std::optional<double> parseNumber(std::string_view text);

/// A number of things from 0 to `most`; "24.00" is 24.
std::optional<std::uint32_t> parseCount(std::string_view text, std::uint32_t most);

/// A delay in seconds; -1 for none, which devices write as a negative number, 65535 or 2147483647.
std::optional<std::int32_t> parseDelay(std::string_view text);

/// A remaining time in seconds, also written as "minutes:seconds". Empty for what devices write when they do
/// not know: a negative number, 65535 seconds or minutes, 2147483647.
std::optional<std::uint32_t> parseRuntime(std::string_view text);

/// yes and no, on and off, enabled and disabled, true and false, 1 and 0 (also "1.00"), in any case;
/// "on/closed" counts as on.
std::optional<bool> parseBool(std::string_view text);

/// A day, as midnight UTC: YYYY-MM-DD, YYYY/MM/DD, MM/DD/YYYY, DD/MM/YYYY, MM/DD/YY. Where day and month can
/// be told apart only by a guess the month stands first, as in the United States, where most such devices
/// come from. Years of two digits are 1970 to 2069.
std::optional<conv::UnixTime> parseDate(std::string_view text);

/// Seconds since midnight: HH:MM or HH:MM:SS.
std::optional<std::uint32_t> parseTimeOfDay(std::string_view text);

/// The number as plain decimal digits, as short as it can be without losing anything.
std::string numberText(float number);

} // namespace velk::nut
