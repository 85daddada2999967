#include "platform/common/lwjson/JsonError.h"

namespace velk::common::lwjson {

JsonError::JsonError(const Position& position, const std::string& reason) :
    std::runtime_error{"line " + std::to_string(position.line) + ", column " +
                       std::to_string(position.column) + ": " + reason},
    place{position},
    cause{reason} {}

JsonError::~JsonError() = default;

} // namespace velk::common::lwjson
