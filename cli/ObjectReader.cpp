#include "cli/ObjectReader.h"

namespace velk::cli {

using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

ObjectReader::ObjectReader(const Node& read) : node{read} {
    if (node.getValueType() != ValueType::Object) {
        throw JsonError{node.position(), "expected an object"};
    }
}

const Node& ObjectReader::require(const std::string& name) {
    if (const Node* member = find(name)) {
        return *member;
    }
    throw JsonError{node.position(), "\"" + name + "\" is missing"};
}

const Node* ObjectReader::find(const std::string& name) {
    asked.insert(name);
    return node.findMember(name);
}

void ObjectReader::finish() const {
    std::set<std::string_view> seen;
    for (const Node& member : node.members()) {
        if (asked.count(member.name()) == 0) {
            throw JsonError{member.position(), "unknown member \"" + member.name() + "\""};
        }
        if (!seen.insert(member.name()).second) {
            throw JsonError{member.position(), "\"" + member.name() + "\" is there twice"};
        }
    }
}

} // namespace velk::cli
