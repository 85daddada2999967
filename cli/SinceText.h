#pragma once

#include <cstdint>
#include <string>

namespace velk::cli {

/// The moment that a person means, in milliseconds since 1970 UTC: "90s", "15m", "1h", "2d" before `nowMs`,
/// or a time: "2026-11-21T13:38:11Z", also with a fraction, with "+01:00", with a blank for the T, without
/// seconds, or the day alone, or the last time of a day ("02:30"). Without a zone it is local time. "" is 0:
/// everything.
///
/// Throws `Failure` with `Usage` that says what is expected.
std::int64_t sinceMs(const std::string& text, std::int64_t nowMs);

} // namespace velk::cli
