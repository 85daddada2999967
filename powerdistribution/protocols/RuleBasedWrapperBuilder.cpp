#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include "powerdistribution/protocols/IRuleNaming.h"

namespace velk::powerdistribution::protocols {

namespace {

/// As `Rule::execute`; `trail` is the rules from the root to the one that gives the wrapper.
ValueWrapperPtr trace(const Rule& rule, Rule::ExecutionParameters& parameters,
                      std::vector<const Rule*>& trail) {
    const auto& nodes = parameters.path.nodes();
    if (parameters.depth >= nodes.size() || !rule.node.matches(nodes[parameters.depth])) {
        return nullptr;
    }
    trail.push_back(&rule);
    ++parameters.depth;
    ValueWrapperPtr wrapper;
    if (parameters.depth == nodes.size()) {
        wrapper = rule.executeSelf(parameters);
    } else {
        for (auto child = rule.children.begin(); child != rule.children.end() && !wrapper; ++child) {
            wrapper = trace(*child, parameters, trail);
        }
    }
    --parameters.depth;
    if (!wrapper) {
        trail.pop_back();
    }
    return wrapper;
}

std::string patternOf(const EPath::Node& node) {
    if (const auto* range = node.getIf<velk::common::TRange<unsigned int>>()) {
        return "[" + std::to_string(range->first) + ".." + std::to_string(range->last) + "]";
    }
    return node.holds<velk::common::TAny>() ? "*" : node.tostring();
}

} // namespace

Rule::Rule(EPath::Node&& match, std::vector<Rule>&& below) : node{match}, children{std::move(below)} {}

Rule::Rule(EPath::Node&& match, BuildFunc&& function) : node{match} {
    buildFunctions.push_back(std::move(function));
}

Rule::Rule(EPath::Node&& match, std::vector<BuildFunc>&& functions) :
    node{match}, buildFunctions{std::move(functions)} {}

Rule::Rule(EPath::Node&& match, std::any&& value, BuildFunc&& function) :
    node{match}, argument{std::move(value)} {
    buildFunctions.push_back(std::move(function));
}

Rule::Rule(EPath::Node&& match, std::any&& value, std::vector<BuildFunc>&& functions) :
    node{match}, argument{std::move(value)}, buildFunctions{std::move(functions)} {}

Rule::Rule(EPath::Node&& match, std::any&& value, BuildFunc&& function, std::vector<Rule>&& below) :
    node{match}, children{std::move(below)}, argument{std::move(value)} {
    buildFunctions.push_back(std::move(function));
}

Rule::Rule(EPath::Node&& match, std::vector<Rule>&& below, std::any&& value,
           std::vector<BuildFunc>&& functions) :
    node{match},
    children{std::move(below)},
    argument{std::move(value)},
    buildFunctions{std::move(functions)} {}

ValueWrapperPtr Rule::execute(ExecutionParameters& parameters) const {
    const auto& nodes = parameters.path.nodes();
    if (parameters.depth >= nodes.size() || !node.matches(nodes[parameters.depth])) {
        return nullptr;
    }
    ++parameters.depth;
    ValueWrapperPtr wrapper;
    if (parameters.depth == nodes.size()) {
        wrapper = executeSelf(parameters);
    } else {
        for (auto child = children.begin(); child != children.end() && !wrapper; ++child) {
            wrapper = child->execute(parameters);
        }
    }
    --parameters.depth;
    return wrapper;
}

ValueWrapperPtr Rule::executeSelf(const ExecutionParameters& parameters) const {
    const std::pair<const std::any*, const std::any*> arguments{&argument, &parameters.executionArgument};
    const BuildFuncParameters forFunctions{parameters.path, parameters.factory, parameters.protocol,
                                           arguments};
    for (const BuildFunc& function : buildFunctions) {
        if (!function) {
            continue;
        }
        if (auto wrapper = function(forFunctions)) {
            return wrapper;
        }
    }
    return nullptr;
}

ValueWrapperPtr RuleBasedWrapperBuilder::buildWrapper(Rule::ExecutionParameters& parameters) const {
    for (const Rule& rule : rules) {
        if (auto wrapper = rule.execute(parameters)) {
            return wrapper;
        }
    }
    return nullptr;
}

std::string RuleBasedWrapperBuilder::ruleOf(Rule::ExecutionParameters& parameters) const {
    std::vector<const Rule*> trail;
    ValueWrapperPtr wrapper;
    for (auto rule = rules.begin(); rule != rules.end() && !wrapper; ++rule) {
        wrapper = trace(*rule, parameters, trail);
    }
    std::string text;
    for (const Rule* rule : trail) {
        text += (text.empty() ? "" : ".") + patternOf(rule->node);
    }
    const auto* naming = dynamic_cast<const ISourceNaming*>(wrapper.get());
    return naming == nullptr ? text : text + " from " + naming->sourceName();
}

} // namespace velk::powerdistribution::protocols
