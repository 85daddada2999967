#include "cli/SinceText.h"

#include "cli/Failure.h"
#include "cli/TimeText.h"

#include <charconv>
#include <ctime>
#include <optional>
#include <regex>

namespace velk::cli {

namespace {

constexpr std::int64_t MS_A_SECOND = 1000;

/// Empty for nothing, and for what no number can hold.
std::optional<std::int64_t> numberOf(const std::string& digits) {
    std::int64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc{} && rest == end ? std::optional{number} : std::nullopt;
}

std::int64_t secondsOf(char unit) {
    switch (unit) {
    case 's':
        return 1;
    case 'm':
        return MINUTE;
    case 'h':
        return HOUR;
    default:
        return DAY;
    }
}

std::optional<std::int64_t> momentBefore(const std::string& text, std::int64_t nowMs) {
    static const std::regex form{"([0-9]{1,9})([smhd])"};
    std::smatch found;
    if (!std::regex_match(text, found, form)) {
        return std::nullopt;
    }
    return nowMs - *numberOf(found[1]) * secondsOf(text.back()) * MS_A_SECOND;
}

/// Milliseconds of "", ".1", ".123", ".123456".
std::int64_t fractionMs(const std::string& text) {
    const std::string digits = (text.empty() ? std::string{} : text.substr(1)) + "000";
    return *numberOf(digits.substr(0, 3));
}

/// Seconds since 1970 UTC; empty for a day or an hour that there is not.
std::optional<std::int64_t> secondsSinceEpoch(const std::tm& asked, bool local) {
    std::tm time = asked;
    time.tm_isdst = -1;
    const std::time_t seconds = local ? std::mktime(&time) : timegm(&time);
    // The calendar makes the 2nd of March of the 30th of February. An hour that the clock leaves out is
    // moved.
    const bool isThatDay = time.tm_mday == asked.tm_mday && time.tm_mon == asked.tm_mon;
    return isThatDay ? std::optional<std::int64_t>{seconds} : std::nullopt;
}

std::int64_t zoneSeconds(const std::string& zone) {
    if (zone == "Z") {
        return 0;
    }
    const std::int64_t seconds =
        (*numberOf(zone.substr(1, 2)) * 60 + *numberOf(zone.substr(zone.size() - 2))) * MINUTE;
    return zone.front() == '-' ? -seconds : seconds;
}

std::optional<std::int64_t> momentNamed(const std::string& text) {
    static const std::regex form{
        "([0-9]{4})-([0-9]{2})-([0-9]{2})"
        "(?:[T ]([0-9]{2}):([0-9]{2})(?::([0-9]{2})(\\.[0-9]{1,9})?)?(Z|[+-][0-9]{2}:?[0-9]{2})?)?"};
    std::smatch found;
    if (!std::regex_match(text, found, form)) {
        return std::nullopt;
    }
    const auto field = [&found](std::size_t index) {
        return static_cast<int>(numberOf(found[index]).value_or(0));
    };
    std::tm time{};
    time.tm_year = field(1) - 1900;
    time.tm_mon = field(2) - 1;
    time.tm_mday = field(3);
    time.tm_hour = field(4);
    time.tm_min = field(5);
    time.tm_sec = field(6);
    if (time.tm_hour > 23 || time.tm_min > 59 || time.tm_sec > 60) {
        return std::nullopt;
    }
    const std::string zone = found[8];
    const std::optional<std::int64_t> seconds = secondsSinceEpoch(time, zone.empty());
    if (!seconds) {
        return std::nullopt;
    }
    return (*seconds - (zone.empty() ? 0 : zoneSeconds(zone))) * MS_A_SECOND + fractionMs(found[7]);
}

/// "02:30", "02:30:15": of today, or of yesterday when that is still to come today.
std::optional<std::int64_t> momentOfTheDay(const std::string& text, std::int64_t nowMs) {
    static const std::regex form{"([0-9]{2}):([0-9]{2})(?::([0-9]{2}))?"};
    std::smatch found;
    if (!std::regex_match(text, found, form)) {
        return std::nullopt;
    }
    const auto field = [&found](std::size_t index) {
        return static_cast<int>(numberOf(found[index]).value_or(0));
    };
    if (field(1) > 23 || field(2) > 59 || field(3) > 60) {
        return std::nullopt;
    }
    const auto now = static_cast<std::time_t>(nowMs / MS_A_SECOND);
    for (const int daysAgo : {0, 1}) {
        std::tm time{};
        localtime_r(&now, &time);
        time.tm_mday -= daysAgo;
        time.tm_hour = field(1);
        time.tm_min = field(2);
        time.tm_sec = field(3);
        time.tm_isdst = -1;
        const std::int64_t moment = std::int64_t{std::mktime(&time)} * MS_A_SECOND;
        if (moment <= nowMs || daysAgo == 1) {
            return moment;
        }
    }
    return std::nullopt;
}

} // namespace

std::int64_t sinceMs(const std::string& text, std::int64_t nowMs) {
    if (text.empty()) {
        return 0;
    }
    const std::optional<std::int64_t> before = momentBefore(text, nowMs);
    const std::optional<std::int64_t> today = before ? before : momentOfTheDay(text, nowMs);
    const std::optional<std::int64_t> moment = today ? today : momentNamed(text);
    if (!moment) {
        throw Failure{ExitCode::Usage,
                      "\"" + text +
                          "\" is no time; expected how long ago (90s, 15m, 1h, 2d) or a time "
                          "such as 02:30, 2026-11-21T13:38:11Z or \"2026-11-21 13:38\""};
    }
    return *moment;
}

} // namespace velk::cli
