#include "plugins/nut/PathIndices.h"

namespace velk::nut {

using powerdistribution::EPath;
using velk::common::TAny;
using velk::common::TRange;

std::optional<PathIndices> PathIndices::of(const EPath& path) {
    PathIndices indices;
    for (const EPath::Node& node : path.nodes()) {
        if (node.holds<TAny>() || node.holds<TRange<unsigned int>>()) {
            return std::nullopt;
        }
        if (const auto* number = node.getIf<std::uint32_t>()) {
            (indices.circuit == 0 ? indices.circuit : indices.phase) = *number;
        }
    }
    return indices;
}

std::string PathIndices::expand(std::string_view pattern) const {
    std::string name;
    for (const char letter : pattern) {
        switch (letter) {
        case '#':
            name += std::to_string(circuit);
            break;
        case '%':
            name += std::to_string(phase);
            break;
        case '&':
            name += std::to_string(phase % 3 + 1);
            break;
        default:
            name += letter;
        }
    }
    return name;
}

} // namespace velk::nut
