#pragma once

#include <cstdint>
#include <string>

namespace velk::cli {

/// Figures as people say them: as many digits as tell something, large powers in thousands.

/// "230 V", "229.4 V", "0.35 A", "965 W", "18.3 kW". `unit` may be empty.
std::string figureText(double value, const std::string& unit);

/// With four digits, or more when the whole part has more: "4.37", "12.48", "78.98", "230", "12346".
std::string fourDigits(double value);

/// A time left: "90 s", "25 min", "3 h 20 min".
std::string durationText(std::int64_t seconds);

} // namespace velk::cli
