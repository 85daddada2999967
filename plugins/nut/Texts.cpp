#include "plugins/nut/Texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>

namespace velk::nut {

namespace {

constexpr double LARGEST_NUMBER = 1e9;

bool isDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

bool isBlank(char letter) {
    const auto code = static_cast<unsigned char>(letter);
    return code <= 0x20 || code == 0x7f;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

/// Digits only, at most nine of them.
std::optional<std::uint32_t> parseDigits(std::string_view text) {
    if (text.empty() || text.size() > 9 || !std::all_of(text.begin(), text.end(), isDigit)) {
        return std::nullopt;
    }
    std::uint32_t number{0};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// The three parts of a text, or of none when it has more or fewer.
std::optional<std::array<std::string_view, 3>> splitInThree(std::string_view text, char separator) {
    const std::size_t first = text.find(separator);
    const std::size_t second = first == std::string_view::npos ? first : text.find(separator, first + 1);
    if (second == std::string_view::npos) {
        return std::nullopt;
    }
    return std::array{text.substr(0, first), text.substr(first + 1, second - first - 1),
                      text.substr(second + 1)};
}

std::optional<conv::UnixTime> toUnixTime(std::uint32_t year, std::uint32_t month, std::uint32_t day) {
    using std::chrono::seconds;
    using std::chrono::sys_days;
    const std::chrono::year_month_day date{std::chrono::year{static_cast<int>(year)},
                                           std::chrono::month{month}, std::chrono::day{day}};
    if (!date.ok() || year < 1970 || year > 2105) {
        return std::nullopt;
    }
    const auto since = sys_days{date}.time_since_epoch();
    return conv::UnixTime{static_cast<std::uint32_t>(std::chrono::duration_cast<seconds>(since).count())};
}

std::uint32_t fullYear(std::uint32_t twoDigits) {
    return twoDigits + (twoDigits < 70 ? 2000 : 1900);
}

} // namespace

std::string collapsed(std::string_view text) {
    std::string result;
    for (const char letter : trimmed(text)) {
        if (!isBlank(letter)) {
            result += letter;
        } else if (result.back() != ' ') {
            result += ' ';
        }
    }
    return result;
}

std::string lowerCase(std::string_view text) {
    std::string result{text};
    for (char& letter : result) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return result;
}

std::optional<double> parseNumber(std::string_view text) {
    text = trimmed(text);
    const bool isNegative = !text.empty() && text.front() == '-';
    if (isNegative || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }
    const auto digits = std::count_if(text.begin(), text.end(), isDigit);
    const auto dots = std::count(text.begin(), text.end(), '.');
    if (digits == 0 || dots > 1 || static_cast<std::size_t>(digits + dots) != text.size()) {
        return std::nullopt;
    }
    double number{0};
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || number > LARGEST_NUMBER) {
        return std::nullopt;
    }
    return isNegative ? -number : number;
}

std::optional<std::uint32_t> parseCount(std::string_view text, std::uint32_t most) {
    const auto number = parseNumber(text);
    if (!number || *number < 0 || std::round(*number) > most) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(std::round(*number));
}

std::optional<std::int32_t> parseDelay(std::string_view text) {
    constexpr std::int32_t NONE = -1;
    if (trimmed(text) == "2147483647") {
        return NONE; // larger than any number that counts
    }
    const auto number = parseNumber(text);
    if (!number) {
        return std::nullopt;
    }
    const double seconds = std::round(*number);
    return seconds < 0 || seconds == 65535 ? NONE : static_cast<std::int32_t>(seconds);
}

std::optional<std::uint32_t> parseRuntime(std::string_view text) {
    constexpr std::uint32_t MOST = 365U * 24 * 3600;
    const std::string_view whole = trimmed(text);
    const std::size_t colon = whole.find(':');
    if (colon != std::string_view::npos) {
        const auto minutes = parseDigits(whole.substr(0, colon));
        const auto seconds = parseDigits(whole.substr(colon + 1));
        if (!minutes || !seconds || *seconds > 59 || *minutes >= 65535) {
            return std::nullopt;
        }
        return *minutes * 60 + *seconds;
    }
    const auto seconds = parseCount(whole, MOST);
    const bool isUnknown = seconds && (*seconds == 65535 || *seconds == 65535 * 60);
    return isUnknown ? std::nullopt : seconds;
}

std::optional<bool> parseBool(std::string_view text) {
    const std::string word = lowerCase(trimmed(text));
    for (const char* yes : {"yes", "on", "enabled", "true", "on/closed"}) {
        if (word == yes) {
            return true;
        }
    }
    for (const char* no : {"no", "off", "disabled", "false", "off/open"}) {
        if (word == no) {
            return false;
        }
    }
    const auto number = parseNumber(word);
    if (number == 0.0 || number == 1.0) {
        return number == 1.0;
    }
    return std::nullopt;
}

std::optional<conv::UnixTime> parseDate(std::string_view text) {
    text = trimmed(text);
    auto parts = splitInThree(text, '/');
    if (!parts) {
        parts = splitInThree(text, '-');
    }
    if (!parts) {
        return std::nullopt;
    }
    const auto first = parseDigits((*parts)[0]);
    const auto second = parseDigits((*parts)[1]);
    const auto third = parseDigits((*parts)[2]);
    if (!first || !second || !third) {
        return std::nullopt;
    }
    if ((*parts)[0].size() == 4) {
        return toUnixTime(*first, *second, *third);
    }
    const std::size_t yearDigits = (*parts)[2].size();
    if (yearDigits != 4 && yearDigits != 2) {
        return std::nullopt;
    }
    const std::uint32_t year = yearDigits == 2 ? fullYear(*third) : *third;
    const bool isDayFirst = *first > 12;
    return isDayFirst ? toUnixTime(year, *second, *first) : toUnixTime(year, *first, *second);
}

std::optional<std::uint32_t> parseTimeOfDay(std::string_view text) {
    std::string whole{trimmed(text)};
    if (std::count(whole.begin(), whole.end(), ':') == 1) {
        whole += ":00";
    }
    const auto parts = splitInThree(whole, ':');
    if (!parts) {
        return std::nullopt;
    }
    const auto hours = parseDigits((*parts)[0]);
    const auto minutes = parseDigits((*parts)[1]);
    const auto seconds = parseDigits((*parts)[2]);
    if (!hours || !minutes || !seconds || *hours > 23 || *minutes > 59 || *seconds > 59) {
        return std::nullopt;
    }
    return *hours * 3600 + *minutes * 60 + *seconds;
}

std::string numberText(float number) {
    std::array<char, 64> digits{};
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed).ptr;
    return {digits.data(), end};
}

} // namespace velk::nut
