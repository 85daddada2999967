#pragma once

#include <cstdint>
#include <string>

namespace velk::cli {

/// In seconds.
constexpr std::int64_t MINUTE = 60;
constexpr std::int64_t HOUR = 60 * MINUTE;
constexpr std::int64_t DAY = 24 * HOUR;

/// Points in time as text. All take milliseconds since 1970 UTC.

/// For programs: "2026-11-21T13:38:11.123Z".
std::string utcText(std::int64_t ms);

/// For people, by the time zone of the person: "2026-11-21 13:38:11".
std::string localText(std::int64_t ms);

/// The time of day alone, with milliseconds: "13:38:11.123".
std::string localClockText(std::int64_t ms);

/// How long ago, in the greatest unit of which two have passed: "just now", "47 s ago", "3 min ago",
/// "5 h ago", "12 d ago". A time that comes within a minute is "just now" too, a later one
/// "3 h in the future".
std::string ageText(std::int64_t ms, std::int64_t nowMs);

/// Both: "2026-11-21 13:38:11 (3 min ago)"; "never" for 0.
std::string timeAndAge(std::int64_t ms, std::int64_t nowMs);

} // namespace velk::cli
