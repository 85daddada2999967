#include "plugins/simulator/world/Members.h"

#include "platform/common/lwjson/JsonError.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace velk::simulator {

using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

namespace {

std::string written(double number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

bool contains(const std::vector<std::string>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

void refuse(const Node& node, const std::string& reason) {
    const std::string subject = node.name().empty() ? "the object" : "\"" + node.name() + "\"";
    throw JsonError{node.position(), subject + " " + reason};
}

std::string enumerate(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t index = 0; index < names.size(); ++index) {
        const bool isLast = index + 1 == names.size();
        text += index == 0 ? "" : isLast ? " or " : ", ";
        text += "\"" + names[index] + "\"";
    }
    return text;
}

const std::string& textOf(const Node& node) {
    const std::string& text = node.asString();
    if (text.empty()) {
        refuse(node, "is empty");
    }
    return text;
}

double numberOf(const Node& node, double least, double most) {
    const double number = node.asDouble();
    if (!(number >= least && number <= most)) {
        refuse(node, "is " + node.text() + ", expected " + written(least) + " to " + written(most));
    }
    return number;
}

std::uint32_t countOf(const Node& node, std::uint32_t least, std::uint32_t most) {
    const std::uint32_t number = node.asUint32();
    if (number < least || number > most) {
        refuse(node,
               "is " + node.text() + ", expected " + std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

Members::Members(const Node& readObject) : node{readObject} {
    if (node.getValueType() != ValueType::Object) {
        refuse(node, "must be an object");
    }
    std::vector<std::string> names;
    for (const Node& member : node.members()) {
        if (contains(names, member.name())) {
            refuse(member, "is there twice");
        }
        names.push_back(member.name());
    }
}

const Node* Members::find(std::string_view name) {
    known.emplace_back(name);
    return node.findMember(name);
}

const Node& Members::need(std::string_view name, std::string_view meaning) {
    const Node* member = find(name);
    if (member == nullptr) {
        refuse(node, "needs a member \"" + std::string{name} + "\", " + std::string{meaning});
    }
    return *member;
}

std::vector<Node> Members::others() {
    std::vector<Node> rest;
    for (const Node& member : node.members()) {
        if (!contains(known, member.name())) {
            known.push_back(member.name());
            rest.push_back(member);
        }
    }
    return rest;
}

void Members::finish() const {
    for (const Node& member : node.members()) {
        if (!contains(known, member.name())) {
            refuse(member, "is unknown, expected " + enumerate(known));
        }
    }
}

} // namespace velk::simulator
