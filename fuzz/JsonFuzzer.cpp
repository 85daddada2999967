// The JSON reader: everything that the product reads of files goes through it.

#include "fuzz/Places.h"
#include "platform/common/lwjson/JsonError.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using namespace velk::common::lwjson;
using velk::fuzz::demand;

template <typename T>
void extract(std::string_view text, const Node& node) {
    try {
        Deserializer::extractValue<T>(node);
    } catch (const JsonError& refusal) {
        velk::fuzz::demandPlace(text, refusal.position());
        demand(refusal.position().line == node.position().line, "the message names another line");
    }
}

void visit(std::string_view text, const Node& node, std::size_t depth) {
    demand(depth <= Deserializer::MAX_DEPTH, "deeper than the limit");
    velk::fuzz::demandPlace(text, node.position());
    extract<bool>(text, node);
    extract<std::int32_t>(text, node);
    extract<std::uint32_t>(text, node);
    extract<std::int64_t>(text, node);
    extract<float>(text, node);
    extract<double>(text, node);
    extract<std::string>(text, node);
    for (const Node& child : node.members()) {
        if (node.getValueType() == ValueType::Object) {
            const Node* found = node.findMember(child.name());
            demand(found != nullptr && found->name() == child.name(), "a member is not found by its name");
        }
        visit(text, child, depth + 1);
    }
}

/// The texts of objects and arrays are slices of the source: each reads as the same value again.
void demandSlice(const Node& node) {
    const bool isNested = node.getValueType() == ValueType::Object || node.getValueType() == ValueType::Array;
    if (!isNested) {
        return;
    }
    const Deserializer again{node.text()};
    demand(again.root().text() == node.text(), "a slice reads as another text");
    demand(again.members().size() == node.members().size(), "a slice has other members");
}

} // namespace

VELK_FUZZER(json) {
    // The reader is strict about the grammar and about nothing else.
    const nlohmann::json reference = nlohmann::json::parse(input, nullptr, false);
    try {
        const Deserializer json{input};
        visit(input, json.root(), 0);
        demandSlice(json.root());
        for (const Node& member : json.members()) {
            demandSlice(member);
        }
    } catch (const JsonError& refusal) {
        velk::fuzz::demandPlace(input, refusal.position());
        const bool isOwnLimit = refusal.reason().find("nested") != std::string::npos ||
                                refusal.reason().find("NUL") != std::string::npos;
        demand(reference.is_discarded() || isOwnLimit, "refused what is JSON: " + refusal.reason());
    }
}
