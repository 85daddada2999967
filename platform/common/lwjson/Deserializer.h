#pragma once

#include "platform/common/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velk::common::lwjson {

/// What a JSON value is. A number is an Integer when it has no '.', 'e' or 'E'.
enum class ValueType : std::uint8_t { Object, Array, String, Integer, Float, Boolean, Null };

/// Where a value begins in its text, both counted from 1; columns count bytes.
struct Position {
    std::size_t line{1};
    std::size_t column{1};
};

/// One JSON value with the name that it has in its object. Members keep their order and their duplicates.
/// A plain value that refers to its `Deserializer`'s data: valid as long as that lives.
class VELK_EXPORT Node {
public:
    struct Data;

    explicit Node(const Data& nodeData) : data{&nodeData} {}

    /// The member's name; empty for the root and for elements of an array.
    const std::string& name() const;
    ValueType getValueType() const;
    Position position() const;

    /// The value as text: a string unescaped, a number or literal as written, an object or array as its slice
    /// of the source.
    const std::string& text() const;

    /// Members of an object or elements of an array, in the order of the file; empty for everything else.
    std::vector<Node> members() const;

    /// The first member of this name, or null. The result lives as long as the `Deserializer`.
    const Node* findMember(std::string_view memberName) const;

    /// Typed extraction; throws JsonError (a std::runtime_error) that names the value, its position and what
    /// was expected when the value is of another kind or out of range.
    bool asBool() const;
    std::int32_t asInt32() const;
    std::uint32_t asUint32() const;
    std::int64_t asInt64() const;
    float asFloat() const;
    double asDouble() const;
    const std::string& asString() const;

private:
    const Data* data;
};

/// A strict RFC 8259 reader. Out-of-range numbers throw when they are extracted, not when they are parsed.
/// Threads: read-only after construction.
class VELK_EXPORT Deserializer {
public:
    /// Nesting beyond this depth is refused, so that hostile text cannot exhaust the stack.
    static constexpr std::size_t MAX_DEPTH = 64;

    /// Parses the whole text. Empty, malformed or trailing text throws JsonError; its place is that of the
    /// byte at which reading could not go on.
    explicit Deserializer(std::string_view json);
    ~Deserializer();
    Deserializer(Deserializer&&) noexcept;
    Deserializer& operator=(Deserializer&&) noexcept;

    const Node& root() const;

    /// Shorthands on the root.
    std::vector<Node> members() const { return root().members(); }
    const Node* findMember(std::string_view name) const { return root().findMember(name); }
    static ValueType getValueType(const Node& node) { return node.getValueType(); }

    /// `T` is bool, int32, uint32, int64, float, double or string; failures as told at `Node`.
    template <typename T>
    static T extractValue(const Node& node);

private:
    struct Document;
    std::unique_ptr<Document> document;
};

template <>
VELK_EXPORT bool Deserializer::extractValue<bool>(const Node& node);
template <>
VELK_EXPORT std::int32_t Deserializer::extractValue<std::int32_t>(const Node& node);
template <>
VELK_EXPORT std::uint32_t Deserializer::extractValue<std::uint32_t>(const Node& node);
template <>
VELK_EXPORT std::int64_t Deserializer::extractValue<std::int64_t>(const Node& node);
template <>
VELK_EXPORT float Deserializer::extractValue<float>(const Node& node);
template <>
VELK_EXPORT double Deserializer::extractValue<double>(const Node& node);
template <>
VELK_EXPORT std::string Deserializer::extractValue<std::string>(const Node& node);

} // namespace velk::common::lwjson
