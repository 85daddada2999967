#include "plugins/nut/Decoders.h"

#include "plugins/nut/Texts.h"
#include "powerdistribution/core/ValueEnums.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string_view>

namespace velk::nut {

using powerdistribution::AudibleAlarmControl;
using powerdistribution::ChargerStatus;
using powerdistribution::SensitivityMode;
using powerdistribution::TestResult;
using powerdistribution::Topology;

namespace {

Value bounded(const std::string& text, double least, double most) {
    const auto number = parseNumber(text);
    if (!number || *number < least || *number > most) {
        return {};
    }
    return static_cast<float>(*number);
}

template <typename Parsed>
Value valueOf(const Parsed& parsed) {
    return parsed ? Value{*parsed} : Value{};
}

template <typename E>
Value stateOf(E member) {
    return static_cast<std::uint32_t>(member);
}

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool isThresholdWord(std::string_view word) {
    return isOneOf(word,
                   {"good", "warning-low", "critical-low", "warning-high", "critical-high", "out-of-range"});
}

/// True for one of the words, false for another word of a threshold status.
Value thresholdState(const std::string& text, std::initializer_list<std::string_view> words) {
    const std::string word = lowerCase(collapsed(text));
    return isThresholdWord(word) ? Value{isOneOf(word, words)} : Value{};
}

} // namespace

Value decodeNumber(const std::string& text) {
    return bounded(text, -1e9, 1e9);
}

Value decodePercent(const std::string& text) {
    return bounded(text, 0, 1000);
}

Value decodeCharge(const std::string& text) {
    return bounded(text, 0, 100);
}

Value decodeApproximateCharge(const std::string& text) {
    return decodeCharge(text.rfind('<', 0) == 0 ? text.substr(1) : text);
}

Value decodeTemperature(const std::string& text) {
    return bounded(text, -50, 150);
}

Value decodePowerFactor(const std::string& text) {
    const auto number = parseNumber(text);
    if (!number || std::abs(*number) > 100) {
        return {};
    }
    return static_cast<float>(std::abs(*number) > 1 ? *number / 100 : *number);
}

Value decodeRatio(const std::string& text) {
    return bounded(text, 0, 1e9);
}

Value decodeDelay(const std::string& text) {
    return valueOf(parseDelay(text));
}

Value decodeRuntime(const std::string& text) {
    return valueOf(parseRuntime(text));
}

Value decodeDate(const std::string& text) {
    return valueOf(parseDate(text));
}

Value decodeText(const std::string& text) {
    std::string word = collapsed(text);
    return word.empty() ? Value{} : Value{std::move(word)};
}

Value decodeSerialNumber(const std::string& text) {
    std::string number = collapsed(text);
    const bool isFiller = number.find_first_not_of("0*Xx# ") == std::string::npos;
    return isFiller || lowerCase(number) == "unknown" ? Value{} : Value{std::move(number)};
}

Value decodeMacAddress(const std::string& text) {
    std::string address = lowerCase(collapsed(text));
    std::replace(address.begin(), address.end(), ' ', ':');
    std::replace(address.begin(), address.end(), '-', ':');
    const bool isAddress = address.size() == 17 &&
                           address.find_first_not_of("0123456789abcdef:") == std::string::npos &&
                           std::count(address.begin(), address.end(), ':') == 5;
    return isAddress ? Value{std::move(address)} : Value{};
}

Value decodeChemistry(const std::string& text) {
    return collapsed(text) == "?" ? Value{} : decodeText(text);
}

Value decodeTopology(const std::string& text) {
    const std::string word = lowerCase(collapsed(text));
    if (isOneOf(word, {"online", "on-line"})) {
        return stateOf(Topology::Online);
    }
    if (isOneOf(word, {"offline / line interactive", "line-interactive", "line interactive"})) {
        return stateOf(Topology::LineInteractive);
    }
    if (isOneOf(word, {"offline", "standby"})) {
        return stateOf(Topology::Offline);
    }
    return {};
}

Value decodeTestResult(const std::string& text) {
    const std::string words = lowerCase(collapsed(text));
    if (contains(words, "progress")) {
        return {};
    }
    if (contains(words, "pass") || endsWith(words, "ok")) {
        return stateOf(TestResult::Success);
    }
    if (contains(words, "warn") || contains(words, "error") || contains(words, "fail") ||
        contains(words, "bad")) {
        return stateOf(TestResult::Fail);
    }
    return contains(words, "abort") ? stateOf(TestResult::Aborted) : Value{};
}

Value decodeBeeper(const std::string& text) {
    const std::string word = lowerCase(collapsed(text));
    if (word == "muted") {
        return stateOf(AudibleAlarmControl::Muted);
    }
    const auto isOn = parseBool(word);
    if (!isOn) {
        return {};
    }
    return stateOf(*isOn ? AudibleAlarmControl::Enabled : AudibleAlarmControl::Disabled);
}

Value decodeSensitivity(const std::string& text) {
    const std::string word = lowerCase(collapsed(text));
    if (isOneOf(word, {"normal", "medium", "auto", "m"})) {
        return stateOf(SensitivityMode::Normal);
    }
    if (isOneOf(word, {"high", "h"})) {
        return stateOf(SensitivityMode::HighSensitivity);
    }
    if (isOneOf(word, {"low", "reduced", "l"})) {
        return stateOf(SensitivityMode::LowSensitivity);
    }
    return {};
}

Value decodeSource(const std::string& text) {
    const auto source = parseCount(text, 2);
    return source && *source > 0 ? Value{*source} : Value{};
}

Value decodeChargerStatus(const std::string& text) {
    const std::string word = lowerCase(collapsed(text));
    if (word == "charging") {
        return stateOf(ChargerStatus::Charging);
    }
    if (word == "floating") {
        return stateOf(ChargerStatus::Floating);
    }
    if (word == "resting") {
        return stateOf(ChargerStatus::OnNotCharging);
    }
    if (word == "discharging") {
        return stateOf(ChargerStatus::Discharging);
    }
    return word == "off" ? stateOf(ChargerStatus::Off) : Value{};
}

Value decodeSmallCount(const std::string& text) {
    return valueOf(parseCount(text, 1000));
}

Value decodeBool(const std::string& text) {
    return valueOf(parseBool(text));
}

Value decodeContact(const std::string& text) {
    const std::string word = lowerCase(collapsed(text));
    if (isOneOf(word, {"closed", "active"})) {
        return true;
    }
    return isOneOf(word, {"open", "inactive"}) ? Value{false} : Value{};
}

Value decodeTooLow(const std::string& text) {
    return thresholdState(text, {"warning-low", "critical-low"});
}

Value decodeTooHigh(const std::string& text) {
    return thresholdState(text, {"warning-high", "critical-high"});
}

Value decodeOutOfRange(const std::string& text) {
    const Value isGood = thresholdState(text, {"good"});
    return isGood.hasValue() ? Value{!isGood.get<bool>()} : Value{};
}

Value decodeWarningHigh(const std::string& text) {
    return thresholdState(text, {"warning-high"});
}

Value decodeCriticalHigh(const std::string& text) {
    return thresholdState(text, {"critical-high"});
}

} // namespace velk::nut
