#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include <vector>

namespace velk::powerdistribution::protocols {

/// One line of a rule table: the nodes of a whole path, and what makes its wrapper.
struct RuleRow {
    EPath path; ///< at least one node
    BuildFunc function;
};

/// Grows the forest of a table that is written flat, a path a line:
///
///     const std::vector<Rule>& rules() {
///         static const std::vector<Rule> forest = growRules({
///             {{ECircuit::Inputs, oneTo(2), EMeasurement::Voltage}, buildVoltage},
///             {{ECircuit::Inputs, oneTo(2), EMeasurement::Current}, buildCurrent},
///         });
///         return forest;
///     }
///
/// The lines are tried in the order of the table: a line shares the rules of the line before it as far as
/// their nodes are the same, and never those of an earlier one. Lines with the same path become one rule with
/// several functions. Throws std::out_of_range for a line with an empty path.
VELK_EXPORT std::vector<Rule> growRules(const std::vector<RuleRow>& rows);

} // namespace velk::powerdistribution::protocols
