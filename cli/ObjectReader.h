#pragma once

#include "platform/common/lwjson/Deserializer.h"
#include "platform/common/lwjson/JsonError.h"

#include <charconv>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

namespace velk::cli {

/// Reads an object of which every member is known: one that nobody asked for, or that is there twice, is a
/// mistake. Failures are velk::common::lwjson::JsonError. The node outlives the reader.
class ObjectReader {
public:
    explicit ObjectReader(const velk::common::lwjson::Node& read);

    /// Throws when it is not there.
    const velk::common::lwjson::Node& require(const std::string& name);
    /// Null when it is not there.
    const velk::common::lwjson::Node* find(const std::string& name);
    /// Throws for a member that was not asked for, or is there twice.
    void finish() const;

private:
    const velk::common::lwjson::Node& node;
    std::set<std::string> asked;
};

/// A number of exactly this kind, out of its text as written.
template <typename Number>
Number numberOf(const velk::common::lwjson::Node& node) {
    using velk::common::lwjson::JsonError;
    using velk::common::lwjson::ValueType;
    const ValueType type = node.getValueType();
    if (type != ValueType::Integer && type != ValueType::Float) {
        throw JsonError{node.position(), "expected a number"};
    }
    const std::string& text = node.text();
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end) {
        throw JsonError{node.position(), "the number " + text + " does not fit here"};
    }
    return number;
}

} // namespace velk::cli
