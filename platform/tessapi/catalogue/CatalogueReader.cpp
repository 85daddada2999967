#include "platform/tessapi/catalogue/CatalogueReader.h"

#include "platform/common/lwjson/Deserializer.h"
#include "platform/common/lwjson/JsonError.h"

#include <charconv>
#include <optional>
#include <set>

namespace tessapi {

namespace {

using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

[[noreturn]] void fail(const Node& node, const std::string& reason) {
    throw JsonError{node.position(), reason};
}

const std::string& textOf(const Node& node) {
    if (node.getValueType() != ValueType::String) {
        fail(node, "\"" + node.name() + "\" must be a string");
    }
    return node.text();
}

const std::string& lineOf(const Node& node) {
    const std::string& text = textOf(node);
    if (text.find('\n') != std::string::npos) {
        fail(node, "\"" + node.name() + "\" must be one line");
    }
    return text;
}

void expectObject(const Node& node, const std::string& what) {
    if (node.getValueType() != ValueType::Object) {
        fail(node, what + " must be an object");
    }
}

qz::datatype typeOf(const Node& node) {
    const std::string& text = textOf(node);
    for (std::uint32_t number = 0; number <= static_cast<std::uint32_t>(qz::datatype::binary); ++number) {
        const auto type = static_cast<qz::datatype>(number);
        if (to_string(type) == text) {
            return type;
        }
    }
    fail(node, "\"" + text + "\" is no type; boolean, int32, int64, uint32, uint64, float32, float64, " +
                   "timestamp, string or binary is expected");
}

template <typename T>
std::optional<qz::CValue> wholeNumber(const std::string& text) {
    T number{};
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc{} || read.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return qz::CValue{number};
}

std::optional<qz::CValue> booleanOf(const std::string& text) {
    if (text != "true" && text != "false") {
        return std::nullopt;
    }
    return qz::CValue{text == "true"};
}

/// The value that `text` names in a channel of `type`; empty when it names none.
std::optional<qz::CValue> stateKey(const std::string& text, qz::datatype type) {
    switch (type) {
    case qz::datatype::boolean:
        return booleanOf(text);
    case qz::datatype::int32:
        return wholeNumber<std::int32_t>(text);
    case qz::datatype::int64:
        return wholeNumber<std::int64_t>(text);
    case qz::datatype::uint32:
        return wholeNumber<std::uint32_t>(text);
    case qz::datatype::uint64:
        return wholeNumber<std::uint64_t>(text);
    case qz::datatype::string:
        return qz::CValue{text};
    default:
        return std::nullopt;
    }
}

qz::CMultistateMap statesOf(const Node& node, qz::datatype type) {
    expectObject(node, "\"states\"");
    qz::CMultistateMap states;
    for (const Node& state : node.members()) {
        const auto key = stateKey(state.name(), type);
        if (!key) {
            fail(state, "\"" + state.name() + "\" is no state of type " + to_string(type));
        }
        if (states.find(*key) != nullptr) {
            fail(state, "the state \"" + state.name() + "\" is there twice");
        }
        states.add(*key, lineOf(state));
    }
    return states;
}

void expectMembers(const Node& node) {
    static const std::set<std::string, std::less<>> names{"type", "unit", "description", "states"};
    std::set<std::string> seen;
    for (const Node& member : node.members()) {
        if (names.count(member.name()) == 0) {
            fail(member,
                 "\"" + member.name() + "\" is unknown; type, unit, description or states is expected");
        }
        if (!seen.insert(member.name()).second) {
            fail(member, "\"" + member.name() + "\" is there twice");
        }
    }
}

void mergeEntry(const Node& node, Catalogue::Entries& entries) {
    expectObject(node, "the entry \"" + node.name() + "\"");
    expectMembers(node);
    const Node* type = node.findMember("type");
    if (type == nullptr && entries.count(node.name()) == 0) {
        fail(node, "the new entry \"" + node.name() + "\" needs a \"type\"");
    }
    CatalogueEntry& entry = entries[node.name()];
    if (type != nullptr && typeOf(*type) != entry.type) {
        entry.type = typeOf(*type);
        entry.labels = {};
    }
    if (const Node* unit = node.findMember("unit")) {
        entry.unit = lineOf(*unit);
    }
    if (const Node* description = node.findMember("description")) {
        entry.description = lineOf(*description);
    }
    if (const Node* states = node.findMember("states")) {
        entry.labels = statesOf(*states, entry.type);
    }
}

} // namespace

void mergeCatalogue(std::string_view json, Catalogue::Entries& entries) {
    const velk::common::lwjson::Deserializer text{json};
    expectObject(text.root(), "a catalogue");
    std::set<std::string> seen;
    for (const Node& node : text.members()) {
        if (!seen.insert(node.name()).second) {
            fail(node, "the entry \"" + node.name() + "\" is there twice");
        }
        mergeEntry(node, entries);
    }
}

} // namespace tessapi
