#include "cli/ValueText.h"

#include "cli/FigureText.h"
#include "cli/TimeText.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

/// A delay that is switched off.
bool isNoDelay(const qz::CValue& value, const tessapi::ChannelRecord& channel) {
    return channel.unit == "s" && channel.name.find("Delay") != std::string::npos && value == qz::CValue{-1};
}

} // namespace

std::string printable(std::string text) {
    for (char& letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (code < 0x20 || code == 0x7F) {
            letter = '?';
        }
    }
    return text;
}

std::string plainText(const qz::CValue& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

std::optional<std::string> labelOf(const qz::CValue& value, const tessapi::ChannelRecord& channel) {
    if (!value.isValid()) {
        return std::nullopt;
    }
    const std::string* label = channel.states.find(value);
    if (label == nullptr) {
        label = channel.commonStates.find(value);
    }
    return label == nullptr ? std::nullopt : std::optional<std::string>{*label};
}

std::string displayText(const qz::CValue& value, const tessapi::ChannelRecord& channel) {
    if (!value.isValid()) {
        return "-";
    }
    if (const std::optional<std::string> label = labelOf(value, channel)) {
        return *label;
    }
    if (const bool* flag = std::get_if<bool>(&value.variant())) {
        return *flag ? "yes" : "no";
    }
    if (const qz::CTimestamp* time = std::get_if<qz::CTimestamp>(&value.variant())) {
        return localText(time->seconds * 1000);
    }
    if (isNoDelay(value, channel)) {
        return "none";
    }
    const std::string text = printable(plainText(value));
    return channel.unit.empty() || !value.asNumber() ? text : text + " " + channel.unit;
}

std::string displayText(const Point& point) {
    return point.channel == nullptr ? printable(point.text)
                                    : displayText(point.channel->value, *point.channel);
}

std::string briefText(const qz::CValue& value, const tessapi::ChannelRecord& channel) {
    const float* number = std::get_if<float>(&value.variant());
    const bool isMeasure = number != nullptr && channel.name.find("Measure.") != std::string::npos;
    if (!isMeasure || !std::isfinite(*number) || labelOf(value, channel)) {
        return displayText(value, channel);
    }
    return fourDigits(double{*number}) + (channel.unit.empty() ? "" : " " + channel.unit);
}

std::string briefText(const Point& point) {
    return point.channel == nullptr ? displayText(point) : briefText(point.channel->value, *point.channel);
}

Json jsonOf(const qz::CValue& value) {
    if (!value.isValid()) {
        return nullptr;
    }
    if (const bool* flag = std::get_if<bool>(&value.variant())) {
        return *flag;
    }
    if (const qz::CTimestamp* time = std::get_if<qz::CTimestamp>(&value.variant())) {
        return utcText(time->seconds * 1000);
    }
    const std::optional<double> number = value.asNumber();
    if (!number) {
        return plainText(value);
    }
    // Through its text: 230.1f as a double would be 230.10000610351562.
    return std::isfinite(*number) ? Json::parse(plainText(value)) : Json(nullptr);
}

} // namespace velk::cli
