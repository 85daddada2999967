#include "cli/ValueParser.h"

#include "cli/EditDistance.h"
#include "cli/Failure.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <sstream>

namespace velk::cli {

namespace {

using tessapi::ChannelRecord;

template <typename Number>
std::optional<Number> numberOf(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stopped == end ? std::optional<Number>{number} : std::nullopt;
}

template <typename Number>
std::optional<qz::CValue> finiteValue(const std::string& text) {
    const std::optional<Number> number = numberOf<Number>(text);
    return number && std::isfinite(static_cast<double>(*number)) ? std::optional{qz::CValue{*number}}
                                                                 : std::nullopt;
}

std::optional<qz::CValue> booleanValue(const std::string& text) {
    for (const char* word : {"true", "yes", "on", "1"}) {
        if (editDistance(text, word) == 0) {
            return qz::CValue{true};
        }
    }
    for (const char* word : {"false", "no", "off", "0"}) {
        if (editDistance(text, word) == 0) {
            return qz::CValue{false};
        }
    }
    return std::nullopt;
}

std::optional<qz::CValue> valueOfType(const std::string& text, qz::datatype type) {
    switch (type) {
    case qz::datatype::boolean:
        return booleanValue(text);
    case qz::datatype::int32:
        return finiteValue<std::int32_t>(text);
    case qz::datatype::int64:
        return finiteValue<std::int64_t>(text);
    case qz::datatype::uint32:
        return finiteValue<std::uint32_t>(text);
    case qz::datatype::uint64:
        return finiteValue<std::uint64_t>(text);
    case qz::datatype::float32:
        return finiteValue<float>(text);
    case qz::datatype::float64:
        return finiteValue<double>(text);
    case qz::datatype::string:
        return qz::CValue{text};
    default:
        return std::nullopt;
    }
}

/// The number or boolean behind a label, written so that `valueOfType` makes it the channel's own type.
std::optional<std::string> numberOfLabel(const std::string& text, const ChannelRecord& channel) {
    for (const auto& [key, name] : channel.states.entries()) {
        if (key.asNumber() && editDistance(text, name) == 0) {
            std::ostringstream number;
            number << key;
            return number.str();
        }
    }
    return std::nullopt;
}

std::string withoutUnit(const std::string& text, const ChannelRecord& channel) {
    const std::string& unit = channel.unit;
    if (unit.empty() || !text.ends_with(unit) || channel.type == qz::datatype::string) {
        return text;
    }
    const std::size_t last = text.find_last_not_of(' ', text.size() - unit.size() - 1);
    return text.size() == unit.size() || last == std::string::npos ? text : text.substr(0, last + 1);
}

std::string expectation(const ChannelRecord& channel) {
    std::string labels;
    for (const auto& [key, name] : channel.states.entries()) {
        labels += (labels.empty() ? "\"" : ", \"") + name + "\"";
    }
    const std::string unit = channel.unit.empty() ? "" : " in " + channel.unit;
    switch (channel.type) {
    case qz::datatype::boolean:
        return labels.empty() ? "yes or no" : "yes or no, or one of " + labels;
    case qz::datatype::float32:
    case qz::datatype::float64:
        return "a number" + unit;
    case qz::datatype::uint32:
    case qz::datatype::uint64:
        return labels.empty() ? "a whole number of 0 or more" + unit : "one of " + labels + ", or its number";
    case qz::datatype::int32:
    case qz::datatype::int64:
        return "a whole number" + unit + (labels.empty() ? "" : ", or one of " + labels);
    default:
        return "a value of the type " + to_string(channel.type) + ", which cannot be written here";
    }
}

} // namespace

qz::CValue parseValue(const std::string& text, const ChannelRecord& channel) {
    const std::string number = numberOfLabel(text, channel).value_or(withoutUnit(text, channel));
    if (const std::optional<qz::CValue> value = valueOfType(number, channel.type)) {
        return *value;
    }
    throw Failure{ExitCode::Usage, "\"" + text + "\" is not what is expected: " + expectation(channel)};
}

} // namespace velk::cli
