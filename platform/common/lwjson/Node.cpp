#include "platform/common/lwjson/JsonError.h"
#include "platform/common/lwjson/NodeData.h"

#include <algorithm>
#include <charconv>

namespace velk::common::lwjson {

namespace {

std::string description(const Node& node) {
    switch (node.getValueType()) {
    case ValueType::Object:
        return "an object";
    case ValueType::Array:
        return "an array";
    case ValueType::String:
        return "\"" + node.text() + "\"";
    default:
        return node.text();
    }
}

[[noreturn]] void refuse(const Node& node, const std::string& expected) {
    const std::string subject = node.name().empty() ? "value" : "\"" + node.name() + "\"";
    throw JsonError{node.position(), subject + " is " + description(node) + ", expected " + expected};
}

void require(bool fits, const Node& node, const std::string& expected) {
    if (!fits) {
        refuse(node, expected);
    }
}

template <typename T>
T convert(const Node& node, const std::string& expected) {
    const std::string& text = node.text();
    T value{};
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    require(error == std::errc{} && stop == text.data() + text.size(), node, expected);
    return value;
}

template <typename T>
T integer(const Node& node, const std::string& expected) {
    require(node.getValueType() == ValueType::Integer, node, expected);
    // The one integer that is spelled with a sign and fits an unsigned type.
    return node.text() == "-0" ? T{0} : convert<T>(node, expected);
}

template <typename T>
T number(const Node& node, const std::string& expected) {
    const ValueType type = node.getValueType();
    require(type == ValueType::Integer || type == ValueType::Float, node, expected);
    return convert<T>(node, expected);
}

} // namespace

const std::string& Node::name() const {
    return data->name;
}

ValueType Node::getValueType() const {
    return data->type;
}

Position Node::position() const {
    return data->position;
}

const std::string& Node::text() const {
    return data->text;
}

std::vector<Node> Node::members() const {
    return data->children;
}

const Node* Node::findMember(std::string_view memberName) const {
    if (data->type != ValueType::Object) {
        return nullptr;
    }
    const auto found = std::find_if(data->children.begin(), data->children.end(),
                                    [&](const Node& child) { return child.name() == memberName; });
    return found == data->children.end() ? nullptr : &*found;
}

bool Node::asBool() const {
    require(data->type == ValueType::Boolean, *this, "true or false");
    return data->text == "true";
}

std::int32_t Node::asInt32() const {
    return integer<std::int32_t>(*this, "an integer from -2147483648 to 2147483647");
}

std::uint32_t Node::asUint32() const {
    return integer<std::uint32_t>(*this, "an integer from 0 to 4294967295");
}

std::int64_t Node::asInt64() const {
    return integer<std::int64_t>(*this, "an integer of 64 bits");
}

float Node::asFloat() const {
    return number<float>(*this, "a number of single precision");
}

double Node::asDouble() const {
    return number<double>(*this, "a number of double precision");
}

const std::string& Node::asString() const {
    require(data->type == ValueType::String, *this, "a string");
    return data->text;
}

} // namespace velk::common::lwjson
