#pragma once

#include "platform/common/lwjson/Deserializer.h"
#include "tests/scenarios/Scenario.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velk::scenarios {

using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

/// Takes values out of the JSON of one file; what is not as it should be throws `ScenarioError` with its
/// place.
class JsonReading {
public:
    explicit JsonReading(std::string fileName) : file{std::move(fileName)} {}

    std::string place(const Node& node) const;
    [[noreturn]] void fail(const Node& node, const std::string& reason) const;

    std::string text(const Node& node) const;
    bool flag(const Node& node) const;
    std::uint32_t number(const Node& node) const;
    double measure(const Node& node) const;
    std::vector<Node> list(const Node& node) const;
    std::vector<Node> object(const Node& node) const;
    std::vector<std::string> texts(const Node& node) const;

    /// The value as JSON again.
    static std::string json(const Node& node);
    std::map<std::string, std::string> jsonByName(const Node& node) const;

    /// A value of the store with its type: true, "text", {"uint32": 2}, {"float": 230}.
    qz::CValue value(const Node& node) const;
    /// The same, and null, {"absent": true} and {"any": "float"}.
    Wanted wanted(const Node& node) const;

    using Take = std::function<void(const Node&)>;
    /// Gives each member of the object to the function of its name; fails at a member that has none.
    void members(const Node& node, const std::map<std::string_view, Take>& takers) const;

private:
    std::string file;
};

} // namespace velk::scenarios
