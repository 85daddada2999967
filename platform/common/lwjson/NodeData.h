#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <string>
#include <vector>

namespace velk::common::lwjson {

/// What a `Node` refers to.
struct Node::Data {
    std::string name;
    ValueType type{ValueType::Null};
    Position position;
    std::string text;
    std::vector<Node> children;
};

/// "line 3, column 7: " and what follows it: the form of every message of this reader.
std::string atPosition(const Position& position, const std::string& message);

} // namespace velk::common::lwjson
