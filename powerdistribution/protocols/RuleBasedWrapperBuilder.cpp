#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

namespace velk::powerdistribution::protocols {

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

} // namespace velk::powerdistribution::protocols
