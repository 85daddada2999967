#include "plugins/simulator/model/JsonObject.h"

#include "plugins/simulator/model/DeviceFileError.h"

#include <sstream>

namespace velk::simulator {

using common::lwjson::ValueType;

namespace {

bool isNumber(const JsonObject::Node& node) {
    return node.getValueType() == ValueType::Integer || node.getValueType() == ValueType::Float;
}

std::string rangeOf(double least, double most) {
    std::ostringstream text;
    text << least;
    if (most < std::numeric_limits<double>::max()) {
        text << " to " << most;
    } else {
        text << " or more";
    }
    return text.str();
}

} // namespace

JsonObject::JsonObject(const Node& node, const std::string& path, const std::string& name) :
    self{node}, file{path}, what{name} {
    if (node.getValueType() != ValueType::Object) {
        fail(node, "expected an object for " + what);
    }
}

void JsonObject::fail(const Node& place, const std::string& reason) const {
    throw DeviceFileError{file, place.position(), reason};
}

const JsonObject::Node* JsonObject::find(const std::string& member) const {
    asked.insert(member);
    return self.findMember(member);
}

double JsonObject::number(const std::string& member, double fallback, double least, double most) const {
    return has(member) ? required(member, least, most) : fallback;
}

double JsonObject::required(const std::string& member, double least, double most) const {
    const Node* value = find(member);
    if (value == nullptr) {
        fail(self,
             "\"" + member + "\" of " + what + " is missing: expected a number, " + rangeOf(least, most));
    }
    if (!isNumber(*value) || value->asDouble() < least || value->asDouble() > most) {
        fail(*value, "expected a number, " + rangeOf(least, most) + ", for \"" + member + "\" of " + what);
    }
    return value->asDouble();
}

std::uint32_t JsonObject::count(const std::string& member, std::uint32_t fallback, std::uint32_t least,
                                std::uint32_t most) const {
    const Node* value = find(member);
    if (value == nullptr) {
        return fallback;
    }
    if (value->getValueType() != ValueType::Integer || value->asDouble() < least ||
        value->asDouble() > most) {
        fail(*value,
             "expected a whole number, " + rangeOf(least, most) + ", for \"" + member + "\" of " + what);
    }
    return value->asUint32();
}

std::string JsonObject::text(const std::string& member, const std::string& fallback) const {
    const Node* value = find(member);
    if (value == nullptr) {
        return fallback;
    }
    if (value->getValueType() != ValueType::String) {
        fail(*value, "expected a text for \"" + member + "\" of " + what);
    }
    return value->asString();
}

void JsonObject::each(const std::string& member, const std::function<void(const Node&)>& visit) const {
    const Node* list = find(member);
    if (list == nullptr) {
        return;
    }
    if (list->getValueType() != ValueType::Array) {
        fail(*list, "expected a list for \"" + member + "\" of " + what);
    }
    for (const Node& element : list->members()) {
        visit(element);
    }
}

void JsonObject::finish() const {
    for (const Node& member : self.members()) {
        if (asked.count(member.name()) == 0) {
            fail(member, "\"" + member.name() + "\" is not known of " + what);
        }
    }
}

} // namespace velk::simulator
