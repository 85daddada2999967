#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/protocols/IProtocol.h"
#include "powerdistribution/protocols/IValueWrapper.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <any>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velk::powerdistribution::protocols {

/// From a path to its wrapper by a forest of rules that is shaped like the tree of paths. Costs nothing to
/// make: it only refers to its rules.
///
/// Threads: any number of walks in parallel over rules that nobody changes.
class VELK_EXPORT RuleBasedWrapperBuilder {
public:
    /// Matches one node of a path; has children for the nodes below it and, at a leaf, the functions that
    /// make the wrapper. A plain value; a copy is deep.
    struct VELK_EXPORT Rule {
        /// What a build function gets to know. Valid for the length of the call; a copy keeps the protocol.
        struct BuildFuncParameters {
            const EPath& path;                                            ///< the path asked for
            const IWrapperFactory& factory;                               ///< for other paths
            std::shared_ptr<IProtocol> protocol;                          ///< empty where there is none
            const std::pair<const std::any*, const std::any*>& arguments; ///< of the rule, of the walk
        };

        /// Gives the wrapper of the path, or null when it does not serve it.
        using BuildFunc = std::function<ValueWrapperPtr(const BuildFuncParameters&)>;

        /// One walk.
        struct ExecutionParameters {
            const EPath& path;              ///< the path asked for
            std::uint32_t depth;            ///< which of its nodes is matched; 0 at the start
            const IWrapperFactory& factory; ///< the factory that started the walk
            std::shared_ptr<IProtocol> protocol;
            const std::any& executionArgument;
        };

        /// An inner rule.
        Rule(EPath::Node&& match, std::vector<Rule>&& below);

        /// A leaf.
        Rule(EPath::Node&& match, BuildFunc&& function);
        Rule(EPath::Node&& match, std::vector<BuildFunc>&& functions);

        /// A leaf with an argument for its functions.
        Rule(EPath::Node&& match, std::any&& value, BuildFunc&& function);
        Rule(EPath::Node&& match, std::any&& value, std::vector<BuildFunc>&& functions);

        /// Both at once.
        Rule(EPath::Node&& match, std::any&& value, BuildFunc&& function, std::vector<Rule>&& below);
        Rule(EPath::Node&& match, std::vector<Rule>&& below, std::any&& value,
             std::vector<BuildFunc>&& functions);

        /// The wrapper of the path if this rule matches the node at `depth` and either is the last one and
        /// makes it, or has a child that does; null otherwise. Leaves `depth` as it was unless an exception
        /// of a build function passes.
        ValueWrapperPtr execute(ExecutionParameters& parameters) const;

        /// The first wrapper that one of this rule's functions makes, or null. Empty functions are passed
        /// over.
        ValueWrapperPtr executeSelf(const ExecutionParameters& parameters) const;

        EPath::Node node;                      ///< an index, a range, any index, or a vocabulary member
        std::vector<Rule> children;            ///< in the order of trial
        std::any argument;                     ///< a matter between a table and its functions
        std::vector<BuildFunc> buildFunctions; ///< in the order of trial
    };

    /// `forest` outlives the builder.
    explicit RuleBasedWrapperBuilder(const std::vector<Rule>& forest) : rules{forest} {}

    /// The first wrapper that a rule gives, in the order of the table; null when none does. An empty path is
    /// never served.
    ValueWrapperPtr buildWrapper(Rule::ExecutionParameters& parameters) const;

    /// The rule that gives that wrapper, by the nodes of the table: "Inputs.[1..2].Measure.Voltage", with "
    /// from " and what the wrapper calls its source if it is an `ISourceNaming`. Empty when no rule gives
    /// one.
    std::string ruleOf(Rule::ExecutionParameters& parameters) const;

private:
    const std::vector<Rule>& rules;
};

using Rule = RuleBasedWrapperBuilder::Rule;
using BuildFunc = Rule::BuildFunc;

} // namespace velk::powerdistribution::protocols
