#include "cli/ImageWriter.h"

#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <type_traits>

namespace velk::cli {

namespace {

std::string hexOf(std::string_view bytes) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string text;
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        text += DIGITS[byte >> 4U];
        text += DIGITS[byte & 0xfU];
    }
    return text;
}

std::string textJson(const std::string& text) {
    try {
        return nlohmann::json(text).dump();
    } catch (const nlohmann::json::type_error&) { // no UTF-8
        return "{\"hex\": \"" + hexOf(text) + "\"}";
    }
}

template <typename Number>
std::string numberJson(Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(number)) {
            return "\"nan\"";
        }
        if (std::isinf(number)) {
            return number > 0 ? "\"inf\"" : "\"-inf\"";
        }
    }
    std::array<char, 64> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

struct ContentJson {
    std::string operator()(std::monostate) const { return "null"; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    template <typename Number>
    requires std::is_arithmetic_v<Number> std::string operator()(Number value) const {
        return numberJson(value);
    }
    std::string operator()(const qz::CTimestamp& value) const {
        const std::string format =
            value.format == qz::CTimestamp{}.format ? "" : ", \"format\": " + textJson(value.format);
        return "{\"seconds\": " + numberJson(value.seconds) + format + "}";
    }
    std::string operator()(const std::string& value) const { return textJson(value); }
    std::string operator()(const qz::CValue::Bytes& value) const {
        return "\"" + hexOf({reinterpret_cast<const char*>(value.data()), value.size()}) + "\"";
    }
};

std::string valueJson(const qz::CValue& value) {
    const auto type = value.type();
    const std::string content = std::visit(ContentJson{}, value.variant());
    return type ? "{\"" + to_string(*type) + "\": " + content + "}" : content;
}

/// One object on one line.
class Line {
public:
    Line& number(const char* name, auto value) { return raw(name, numberJson(value)); }
    Line& text(const char* name, const std::string& value) { return raw(name, textJson(value)); }
    Line& value(const char* name, const qz::CValue& value) { return raw(name, valueJson(value)); }
    Line& raw(const char* name, const std::string& json) {
        line += (line.empty() ? "\"" : ", \"") + std::string{name} + "\": " + json;
        return *this;
    }
    std::string finished() const { return "{" + line + "}"; }

private:
    std::string line;
};

std::string deviceJson(const qz::CDevice& device) {
    Line attributes;
    for (std::size_t number = 0; number < device.attributes.size(); ++number) {
        if (!device.attributes[number].empty()) {
            attributes.text(std::to_string(number).c_str(), device.attributes[number]);
        }
    }
    return Line{}
        .number("id", device.id)
        .text("uuid", device.uuid.toString())
        .raw("parent", device.parentId == 0 ? "null" : numberJson(device.parentId))
        .raw("attributes", attributes.finished())
        .finished();
}

std::string triggerJson(const qz::CAlarmTrigger& trigger) {
    return Line{}
        .number("level", static_cast<std::uint32_t>(trigger.level))
        .number("type", int{trigger.type})
        .value("threshold1", trigger.threshold1)
        .value("threshold2", trigger.threshold2)
        .number("priority", trigger.priority)
        .text("code", trigger.code)
        .value("extra", trigger.extra)
        .number("extraWord", trigger.extraWord)
        .finished();
}

template <typename Entries, typename Printer>
std::string listJson(const Entries& entries, Printer print) {
    std::string list;
    for (const auto& entry : entries) {
        list += (list.empty() ? "" : ", ") + print(entry);
    }
    return "[" + list + "]";
}

std::string stateJson(const qz::CMultistateMap::Entry& state) {
    return Line{}.value("value", state.first).text("name", state.second).finished();
}

std::string channelJson(const tessapi::ChannelRecord& channel) {
    return Line{}
        .number("id", channel.id)
        .number("device", channel.deviceId)
        .text("name", channel.name)
        .text("type", to_string(channel.type))
        .value("value", channel.value)
        .number("written", channel.writtenMs)
        .number("changed", channel.changedMs)
        .raw("states", listJson(channel.states.entries(), stateJson))
        .raw("triggers", listJson(channel.alarmConfig.triggers, triggerJson))
        .finished();
}

/// Identifiers of things that were never there are null.
std::string idJson(std::uint64_t id) {
    return id == ~std::uint64_t{0} ? "null" : numberJson(id);
}

std::string eventJson(const tessapi::AlarmEvent& event) {
    return Line{}
        .number("number", event.number)
        .number("time", event.timeMs)
        .raw("raised", event.raised ? "true" : "false")
        .raw("device", idJson(event.device))
        .raw("channel", idJson(event.channel))
        .text("place", event.place)
        .text("name", event.name)
        .text("code", event.code)
        .text("message", event.message)
        .number("level", static_cast<std::uint32_t>(event.level))
        .number("priority", event.priority)
        .number("type", int{event.type})
        .value("value", event.value)
        .value("threshold1", event.threshold1)
        .value("threshold2", event.threshold2)
        .finished();
}

std::string recordJson(const tessapi::WriteRecord& record) {
    return Line{}
        .number("number", record.number)
        .number("time", record.timeMs)
        .text("program", record.program)
        .text("user", record.user)
        .text("path", record.path)
        .text("asked", record.asked)
        .text("result", record.result)
        .finished();
}

template <typename Entries, typename Printer>
void writeLines(std::ostream& out, const char* name, const Entries& entries, Printer print) {
    out << ",\n\"" << name << "\": [";
    const char* separator = "\n";
    for (const auto& entry : entries) {
        out << separator << print(entry);
        separator = ",\n";
    }
    out << "]";
}

} // namespace

void writeImage(std::ostream& out, const tessapi::StoreImage& image) {
    out << "{\n\"format\": \"" << ImageFormat::NAME
        << "\",\n\"version\": " << numberJson(ImageFormat::VERSION)
        << ",\n\"lastDevice\": " << numberJson(image.lastDevice)
        << ",\n\"lastChannel\": " << numberJson(image.lastChannel);
    writeLines(out, "devices", image.content.devices, deviceJson);
    writeLines(out, "channels", image.content.channels, channelJson);
    writeLines(out, "alarmEvents", image.alarmEvents, eventJson);
    writeLines(out, "writeRecords", image.writeRecords, recordJson);
    out << "\n}\n";
}

} // namespace velk::cli
