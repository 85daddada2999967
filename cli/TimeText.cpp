#include "cli/TimeText.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace velk::cli {

namespace {

std::int64_t wholeSeconds(std::int64_t ms) {
    return ms >= 0 ? ms / 1000 : (ms - 999) / 1000;
}

std::string withMillis(const char* format, const std::tm& time, std::int64_t ms, const char* tail) {
    std::array<char, 40> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), format, &time);
    const auto millis = static_cast<unsigned int>(ms - wholeSeconds(ms) * 1000);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03u", millis % 1000);
    return std::string{text.data(), length} + fraction.data() + tail;
}

std::tm local(std::int64_t ms) {
    const auto seconds = static_cast<std::time_t>(wholeSeconds(ms));
    std::tm time{};
    localtime_r(&seconds, &time);
    return time;
}

/// What two clocks may lie apart without a word.
constexpr std::int64_t CLOCKS_DIFFER_SECONDS = 60;

std::string roughly(std::int64_t seconds) {
    if (seconds < 2 * MINUTE) {
        return std::to_string(seconds) + " s";
    }
    if (seconds < 2 * HOUR) {
        return std::to_string(seconds / MINUTE) + " min";
    }
    if (seconds < 2 * DAY) {
        return std::to_string(seconds / HOUR) + " h";
    }
    return std::to_string(seconds / DAY) + " d";
}

} // namespace

std::string utcText(std::int64_t ms) {
    const auto seconds = static_cast<std::time_t>(wholeSeconds(ms));
    std::tm time{};
    gmtime_r(&seconds, &time);
    return withMillis("%Y-%m-%dT%H:%M:%S", time, ms, "Z");
}

std::string localText(std::int64_t ms) {
    const std::tm time = local(ms);
    std::array<char, 40> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &time);
    return {text.data(), length};
}

std::string localClockText(std::int64_t ms) {
    return withMillis("%H:%M:%S", local(ms), ms, "");
}

std::string ageText(std::int64_t ms, std::int64_t nowMs) {
    const std::int64_t seconds = (nowMs - ms) / 1000;
    if (seconds < -CLOCKS_DIFFER_SECONDS) {
        return roughly(-seconds) + " in the future";
    }
    return seconds < 2 ? "just now" : roughly(seconds) + " ago";
}

std::string timeAndAge(std::int64_t ms, std::int64_t nowMs) {
    return ms == 0 ? "never" : localText(ms) + " (" + ageText(ms, nowMs) + ")";
}

} // namespace velk::cli
