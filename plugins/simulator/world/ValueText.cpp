#include "plugins/simulator/world/ValueText.h"

#include "plugins/simulator/world/JsonText.h"

#include <cstdint>

namespace velk::simulator {

using powerdistribution::InternalLogChunk;
using powerdistribution::Value;

namespace {

std::string jsonLog(const InternalLogChunk& chunk) {
    std::string text = "[";
    for (const auto& entry : chunk.entries()) {
        text += text.size() == 1 ? "" : ",";
        text += "{\"id\":" + std::to_string(entry.id) + ",\"date\":" + jsonText(entry.date.toIso8601()) +
                ",\"code\":" + std::to_string(entry.code) +
                ",\"severity\":" + std::to_string(entry.severity) + "}";
    }
    return text + "]";
}

} // namespace

std::string jsonValue(const Value& value) {
    if (const auto* flag = value.getIf<bool>()) {
        return *flag ? "true" : "false";
    }
    if (const auto* number = value.getIf<std::int32_t>()) {
        return std::to_string(*number);
    }
    if (const auto* number = value.getIf<std::uint32_t>()) {
        return std::to_string(*number);
    }
    if (const auto* number = value.getIf<float>()) {
        return jsonNumber(*number);
    }
    if (const auto* time = value.getIf<conv::UnixTime>()) {
        return jsonText(time->toIso8601());
    }
    if (const auto* text = value.getIf<std::string>()) {
        return jsonText(*text);
    }
    if (const auto* log = value.getIf<InternalLogChunk>()) {
        return jsonLog(*log);
    }
    return "null";
}

} // namespace velk::simulator
