#include "powerdistribution/protocols/RuleTable.h"

#include <cstddef>

namespace velk::powerdistribution::protocols {

namespace {

/// The last rule of `level` if it is for `node`, otherwise a new one behind it.
Rule& ruleFor(const EPath::Node& node, std::vector<Rule>& level) {
    if (level.empty() || !(level.back().node == node)) {
        level.emplace_back(EPath::Node{node}, std::vector<Rule>{});
    }
    return level.back();
}

} // namespace

std::vector<Rule> growRules(const std::vector<RuleRow>& rows) {
    std::vector<Rule> forest;
    for (const RuleRow& row : rows) {
        const EPath::Node& leaf = row.path.lastNode();
        std::vector<Rule>* level = &forest;
        for (std::size_t depth = 0; depth + 1 < row.path.size(); ++depth) {
            level = &ruleFor(row.path.nodes()[depth], *level).children;
        }
        ruleFor(leaf, *level).buildFunctions.push_back(row.function);
    }
    return forest;
}

} // namespace velk::powerdistribution::protocols
