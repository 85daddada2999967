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

} // namespace velk::common::lwjson
