#pragma once

#include "plugins/simulator/model/PointInfo.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::simulator {

/// The type of a member of the vocabulary, by its text: "Measure.Voltage" is a float. Nothing for a text that
/// is no member. The types are those of the store's catalogue.
std::optional<PointType> memberType(std::string_view member);

/// The states of a multi-state member, by number; empty for every other member.
std::vector<std::uint32_t> memberStates(std::string_view member);

/// A path's text, cut where the name of its data point begins.
struct PathText {
    std::string node;   ///< "Outlets.3"; empty for a data point of the root
    std::string member; ///< "Measure.Voltage"; empty when the path names no data point
};

PathText splitPath(std::string_view path);

/// Puts a node and a member, or two nodes, together; either may be empty.
std::string joinPath(std::string_view node, std::string_view member);

/// The parts of a node's path: "Outlets", "3".
std::vector<std::string> nodesOf(std::string_view path);

/// The number that a node's text is, or nothing.
std::optional<std::uint32_t> indexOf(std::string_view node);

} // namespace velk::simulator
