#include "tests/scenarios/JsonReading.h"

#include "platform/common/lwjson/JsonError.h"
#include "tests/scenarios/ScenarioReader.h"

#include <array>
#include <cstdio>

namespace velk::scenarios {

using velk::common::lwjson::JsonError;

namespace {

/// The types that a scenario can name, each with what makes a value of it.
struct TypeName {
    std::string_view name;
    qz::datatype type;
    qz::CValue (*make)(const Node&);
};

constexpr std::array<TypeName, 6> TYPES{{
    {"bool", qz::datatype::boolean, [](const Node& node) { return qz::CValue{node.asBool()}; }},
    {"int32", qz::datatype::int32, [](const Node& node) { return qz::CValue{node.asInt32()}; }},
    {"uint32", qz::datatype::uint32, [](const Node& node) { return qz::CValue{node.asUint32()}; }},
    {"float", qz::datatype::float32, [](const Node& node) { return qz::CValue{node.asFloat()}; }},
    {"string", qz::datatype::string, [](const Node& node) { return qz::CValue{node.asString()}; }},
    {"timestamp", qz::datatype::timestamp, nullptr},
}};

const TypeName* typeNamed(std::string_view name) {
    for (const TypeName& type : TYPES) {
        if (type.name == name) {
            return &type;
        }
    }
    return nullptr;
}

std::string alternatives(const std::map<std::string_view, JsonReading::Take>& takers) {
    std::string all;
    for (const auto& [name, _] : takers) {
        all += (all.empty() ? "" : ", ") + quoted(std::string{name});
    }
    return all;
}

} // namespace

std::string quoted(const std::string& text) {
    std::string json{"\""};
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            json += '\\';
        }
        if (static_cast<unsigned char>(character) >= 0x20) {
            json += character;
            continue;
        }
        std::array<char, 8> code{};
        std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned int>(character));
        json += code.data();
    }
    return json + '"';
}

std::string JsonReading::place(const Node& node) const {
    return file + ":" + std::to_string(node.position().line) + ":" + std::to_string(node.position().column);
}

void JsonReading::fail(const Node& node, const std::string& reason) const {
    throw ScenarioError{place(node) + ": " + reason};
}

std::string JsonReading::text(const Node& node) const {
    if (node.getValueType() != ValueType::String) {
        fail(node, "expected a text");
    }
    return node.text();
}

bool JsonReading::flag(const Node& node) const {
    if (node.getValueType() != ValueType::Boolean) {
        fail(node, "expected true or false");
    }
    return node.asBool();
}

std::uint32_t JsonReading::number(const Node& node) const {
    try {
        return node.asUint32();
    } catch (const JsonError&) {
        fail(node, "expected a whole number, 0 or more");
    }
}

double JsonReading::measure(const Node& node) const {
    if (node.getValueType() != ValueType::Integer && node.getValueType() != ValueType::Float) {
        fail(node, "expected a number");
    }
    return node.asDouble();
}

std::vector<Node> JsonReading::list(const Node& node) const {
    if (node.getValueType() != ValueType::Array) {
        fail(node, "expected a list");
    }
    return node.members();
}

std::vector<Node> JsonReading::object(const Node& node) const {
    if (node.getValueType() != ValueType::Object) {
        fail(node, "expected an object");
    }
    return node.members();
}

std::vector<std::string> JsonReading::texts(const Node& node) const {
    std::vector<std::string> all;
    for (const Node& each : list(node)) {
        all.push_back(text(each));
    }
    return all;
}

std::string JsonReading::json(const Node& node) {
    return node.getValueType() == ValueType::String ? quoted(node.text()) : node.text();
}

std::map<std::string, std::string> JsonReading::jsonByName(const Node& node) const {
    std::map<std::string, std::string> byName;
    for (const Node& member : object(node)) {
        byName[member.name()] = json(member);
    }
    return byName;
}

qz::CValue JsonReading::value(const Node& node) const {
    if (node.getValueType() == ValueType::Boolean) {
        return qz::CValue{node.asBool()};
    }
    if (node.getValueType() == ValueType::String) {
        return qz::CValue{node.text()};
    }
    const std::vector<Node> typed = node.members();
    const TypeName* const type = typed.size() == 1 ? typeNamed(typed[0].name()) : nullptr;
    if (type == nullptr || type->make == nullptr) {
        fail(node, "expected true, false, a text, or a number with its type, for instance {\"uint32\": 2}");
    }
    try {
        return type->make(typed[0]);
    } catch (const JsonError& error) {
        fail(typed[0], error.reason());
    }
}

Wanted JsonReading::wanted(const Node& node) const {
    if (node.getValueType() == ValueType::Null) {
        return {};
    }
    if (const Node* const absent = node.findMember("absent")) {
        return {std::nullopt, std::nullopt, flag(*absent)};
    }
    if (const Node* const any = node.findMember("any")) {
        const TypeName* const type = typeNamed(text(*any));
        if (type == nullptr) {
            fail(*any, "expected \"bool\", \"int32\", \"uint32\", \"float\", \"string\" or \"timestamp\"");
        }
        return {std::nullopt, type->type, false};
    }
    return {value(node), std::nullopt, false};
}

void JsonReading::members(const Node& node, const std::map<std::string_view, Take>& takers) const {
    for (const Node& member : object(node)) {
        const auto taker = takers.find(member.name());
        if (taker == takers.end()) {
            fail(member,
                 "unknown member " + quoted(member.name()) + ", expected one of " + alternatives(takers));
        }
        taker->second(member);
    }
}

} // namespace velk::scenarios
