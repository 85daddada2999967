#include "plugins/nut/Encoding.h"

#include "plugins/nut/Texts.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace velk::nut {

namespace {

std::string forPeople(const Value& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

std::string booleanWord(bool asked, const std::string& present) {
    using Pair = std::pair<std::string_view, std::string_view>;
    static constexpr std::array<Pair, 5> PAIRS{
        {{"yes", "no"}, {"on", "off"}, {"enabled", "disabled"}, {"true", "false"}, {"1", "0"}}};
    const std::string word = lowerCase(collapsed(present));
    const auto* pair = std::find_if(PAIRS.begin(), PAIRS.end(), [&](const Pair& candidate) {
        return candidate.first == word || candidate.second == word;
    });
    const Pair& style = pair == PAIRS.end() ? PAIRS.front() : *pair;
    return std::string{asked ? style.first : style.second};
}

/// The first of `words` that reads as `asked` and fits, or else that reads as `asked`, or an empty text.
std::string wordFor(const Codec& codec, const Value& asked, const std::vector<std::string>& words,
                    const VariableLimits& limits) {
    std::string first;
    for (const std::string& word : words) {
        if (!(codec.decode(word) == asked)) {
            continue;
        }
        if (!limits.maxLength || word.size() <= *limits.maxLength) {
            return word;
        }
        first = first.empty() ? word : first;
    }
    return first;
}

std::string freeText(const Codec& codec, const Value& asked, const std::string& present,
                     const VariableLimits& limits) {
    if (!codec.words.empty()) {
        return wordFor(codec, asked, codec.words, limits);
    }
    if (const auto* flag = asked.getIf<bool>()) {
        return booleanWord(*flag, present);
    }
    if (const auto* number = asked.getIf<float>()) {
        return numberText(*number);
    }
    if (const auto* number = asked.getIf<std::int32_t>()) {
        return std::to_string(*number);
    }
    if (const auto* number = asked.getIf<std::uint32_t>()) {
        return std::to_string(*number);
    }
    const auto* text = asked.getIf<std::string>();
    return text == nullptr ? std::string{} : *text;
}

bool isInRange(const std::string& text, const std::pair<std::string, std::string>& range) {
    const auto number = parseNumber(text);
    const auto first = parseNumber(range.first);
    const auto last = parseNumber(range.second);
    return number && first && last && *first <= *number && *number <= *last;
}

void requireAllowed(const std::string& text, const VariableLimits& limits) {
    if (limits.maxLength && text.size() > *limits.maxLength) {
        throw std::runtime_error{"\"" + text + "\" is longer than the " + std::to_string(*limits.maxLength) +
                                 " characters that fit"};
    }
    const bool isAllowed =
        limits.ranges.empty() || std::any_of(limits.ranges.begin(), limits.ranges.end(),
                                             [&](const auto& range) { return isInRange(text, range); });
    if (!isAllowed) {
        throw std::runtime_error{text + " is not from " + limits.ranges.front().first + " to " +
                                 limits.ranges.front().second};
    }
}

} // namespace

std::string encode(const Codec& codec, const Value& asked, const std::string& present,
                   const VariableLimits& limits) {
    std::string text = limits.words.empty() ? freeText(codec, asked, present, limits)
                                            : wordFor(codec, asked, limits.words, limits);
    // What does not read as the value asked for is of another type, out of bounds or no word of the device.
    if (text.empty() || !(codec.decode(text) == asked)) {
        throw std::runtime_error{forPeople(asked) + " is no value that the device takes"};
    }
    requireAllowed(text, limits);
    return text;
}

} // namespace velk::nut
