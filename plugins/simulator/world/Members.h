#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::simulator {

/// Ends the reading of a JSON text: throws JsonError with the place of `node`; the reason begins with its
/// name.
[[noreturn]] void refuse(const velk::common::lwjson::Node& node, const std::string& reason);

/// The names quoted and enumerated: "a", "b" or "c".
std::string enumerate(const std::vector<std::string>& names);

// One value, or JsonError that tells what was expected instead.

/// A string that is not empty.
const std::string& textOf(const velk::common::lwjson::Node& node);
double numberOf(const velk::common::lwjson::Node& node, double least, double most);
std::uint32_t countOf(const velk::common::lwjson::Node& node, std::uint32_t least, std::uint32_t most);

/// The words of an enumeration.
template <typename E>
using Words = std::vector<std::pair<std::string_view, E>>;

/// The member whose word the string is.
template <typename E>
E wordOf(const velk::common::lwjson::Node& node, const Words<E>& words) {
    const std::string& text = node.asString();
    std::vector<std::string> names;
    for (const auto& [word, member] : words) {
        if (word == text) {
            return member;
        }
        names.emplace_back(word);
    }
    refuse(node, "is \"" + text + "\", expected " + enumerate(names));
}

/// Reads a JSON object member by member and refuses it when it has members that nobody asked for, so that a
/// misspelt one is told and not passed over.
class Members {
public:
    /// Throws JsonError for what is no object, and for a member that is there twice.
    explicit Members(const velk::common::lwjson::Node& readObject);

    /// The member, or null.
    const velk::common::lwjson::Node* find(std::string_view name);
    /// The member; JsonError "needs a member "NAME", MEANING" without it.
    const velk::common::lwjson::Node& need(std::string_view name, std::string_view meaning);
    /// The members that nobody has asked for so far; they count as asked for from now on.
    std::vector<velk::common::lwjson::Node> others();
    /// Throws JsonError for the first member that nobody has asked for.
    void finish() const;

    const velk::common::lwjson::Node& object() const { return node; }

private:
    velk::common::lwjson::Node node;
    std::vector<std::string> known;
};

} // namespace velk::simulator
