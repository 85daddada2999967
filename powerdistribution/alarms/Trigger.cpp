#include "powerdistribution/alarms/Trigger.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace velk::powerdistribution {

namespace {

// By number.
constexpr std::array<std::string_view, 5> typeTexts{"none", "value", "lower", "upper", "inbetween"};
constexpr std::array<std::string_view, 5> levelTexts{"none", "good", "info", "warning", "critical"};

template <typename E>
std::string_view textOf(const std::array<std::string_view, 5>& texts, E value) {
    const auto number = static_cast<std::size_t>(value);
    return number < texts.size() ? texts[number] : std::string_view{"UNKNOWN"};
}

// The number behind the table is the one that means "invalid".
template <typename E>
E valueOf(const std::array<std::string_view, 5>& texts, std::string_view text) {
    return static_cast<E>(std::find(texts.begin(), texts.end(), text) - texts.begin());
}

} // namespace

std::string_view Trigger::to_string(Level level) {
    return textOf(levelTexts, level);
}

std::string_view Trigger::to_string(Type type) {
    return textOf(typeTexts, type);
}

void Trigger::from_string(std::string_view text, Level& out) {
    out = valueOf<Level>(levelTexts, text);
}

void Trigger::from_string(std::string_view text, Type& out) {
    out = valueOf<Type>(typeTexts, text);
}

std::ostream& operator<<(std::ostream& stream, const Trigger& trigger) {
    return stream << "Trigger(type=" << Trigger::to_string(trigger.type)
                  << ", level=" << Trigger::to_string(trigger.level) << ", priority=" << trigger.priority
                  << ", threshold1=" << trigger.threshold1 << ", threshold2=" << trigger.threshold2
                  << ", code=" << trigger.code << ", message=" << trigger.message << ")";
}

} // namespace velk::powerdistribution
