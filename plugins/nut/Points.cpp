#include "plugins/nut/Points.h"

#include "plugins/nut/ActionWrapper.h"
#include "plugins/nut/PathIndices.h"
#include "plugins/nut/PluginIdentity.h"
#include "plugins/nut/SettingWrapper.h"
#include "plugins/nut/VariableWrapper.h"
#include "powerdistribution/protocols/ConstROValueWrapper.h"
#include "powerdistribution/protocols/DummyWrapper.h"

#include <algorithm>
#include <any>
#include <iterator>
#include <optional>
#include <utility>

namespace velk::nut {

using powerdistribution::Value;
using powerdistribution::protocols::ConstROValueWrapper;
using powerdistribution::protocols::DummyWrapper;
using powerdistribution::protocols::Rule;
using powerdistribution::protocols::ValueWrapperPtr;

namespace {

using Parameters = Rule::BuildFuncParameters;

const BuildContext& contextOf(const Parameters& parameters) {
    return *std::any_cast<const BuildContext*>(*parameters.arguments.second);
}

/// A build function that gets to know the device and the numbers in the path; a path without plain numbers is
/// not served. Tables are copied on every walk, so what a function needs is shared and not copied with it.
template <typename Settings>
BuildFunc point(Settings settings, ValueWrapperPtr (*build)(const Settings&, const BuildContext&,
                                                            const PathIndices&, const Parameters&)) {
    auto shared = std::make_shared<const Settings>(std::move(settings));
    return [shared, build](const Parameters& parameters) -> ValueWrapperPtr {
        const auto indices = PathIndices::of(parameters.path);
        return indices ? build(*shared, contextOf(parameters), *indices, parameters) : nullptr;
    };
}

/// The names that the device has, expanded.
Names presentNames(const Names& patterns, const BuildContext& context, const PathIndices& indices) {
    Names names;
    for (const std::string& pattern : patterns) {
        std::string name = indices.expand(pattern);
        if (context.shape->has(name)) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

struct VariablePoint {
    Names names;
    Decode decode;
    VariableWrapper::WhileLost whileLost;
};

ValueWrapperPtr buildVariable(const VariablePoint& point, const BuildContext& context,
                              const PathIndices& indices, const Parameters& /*parameters*/) {
    Names names = presentNames(point.names, context, indices);
    if (names.empty()) {
        return nullptr;
    }
    return std::make_unique<VariableWrapper>(context.device, std::move(names), point.decode, point.whileLost);
}

struct SettingPoint {
    Names names;
    Codec codec;
    bool onlyChangeable;
};

bool hasCommand(const Codec& codec, const BuildContext& context) {
    return context.device->canChange() &&
           std::any_of(codec.commands.begin(), codec.commands.end(), [&](const CommandForValue& choice) {
               return std::any_of(choice.commands.begin(), choice.commands.end(), [&](const auto& command) {
                   return context.shape->capabilities->canRun(command);
               });
           });
}

ValueWrapperPtr buildSetting(const SettingPoint& point, const BuildContext& context,
                             const PathIndices& indices, const Parameters& parameters) {
    const Names names = presentNames(point.names, context, indices);
    if (names.empty()) {
        return nullptr;
    }
    const std::string& name = names.front();
    const bool isWritable = context.canSet(name) || hasCommand(point.codec, context);
    if (point.onlyChangeable && !isWritable) {
        return nullptr;
    }
    // The library takes it for a failure when a threshold of an alarm does not read as a float, be it that it
    // has no value or that the device is away: so it is kept, and not served where it never had one.
    const bool isThreshold = context.alarms.isThreshold(parameters.path);
    if (isThreshold && !firstValue(*context.shape, {name}, point.codec.decode).holds<float>()) {
        return nullptr;
    }
    return std::make_unique<SettingWrapper>(context.device, name, point.codec, isWritable, isThreshold);
}

struct ComputedPoint {
    Compute compute;
    Names needed;
    bool isStructure;
};

ValueWrapperPtr buildComputed(const ComputedPoint& point, const BuildContext& context,
                              const PathIndices& indices, const Parameters& /*parameters*/) {
    const bool isServed = point.isStructure
                              ? point.compute(*context.shape, indices).hasValue()
                              : point.needed.empty() || !presentNames(point.needed, context, indices).empty();
    if (!isServed) {
        return nullptr;
    }
    return std::make_unique<ComputedWrapper>(context.device, point.compute, indices, point.isStructure);
}

bool isOffered(const ActionStep& step, const BuildContext& context) {
    return step.word.empty() ? context.shape->capabilities->canRun(step.name) : context.canSet(step.name);
}

ValueWrapperPtr buildAction(const std::vector<ActionStep>& patterns, const BuildContext& context,
                            const PathIndices& indices, const Parameters& /*parameters*/) {
    std::vector<ActionStep> steps;
    for (const ActionStep& pattern : patterns) {
        ActionStep step{indices.expand(pattern.name), pattern.delay, pattern.word};
        if (context.device->canChange() && isOffered(step, context)) {
            steps.push_back(std::move(step));
        }
    }
    return steps.empty() ? nullptr : std::make_unique<ActionWrapper>(context.device, std::move(steps));
}

} // namespace

BuildFunc variable(Names names, Decode decode) {
    return point(VariablePoint{std::move(names), decode, VariableWrapper::WhileLost::Empty}, buildVariable);
}

BuildFunc identity(Names names, Decode decode) {
    return point(VariablePoint{std::move(names), decode, VariableWrapper::WhileLost::Kept}, buildVariable);
}

BuildFunc fixedLimit(const std::string& name, Decode decode) {
    return [build = variable({name}, decode), name](const Parameters& parameters) -> ValueWrapperPtr {
        const auto indices = PathIndices::of(parameters.path);
        const bool isSetting = indices && contextOf(parameters).canSet(indices->expand(name));
        return isSetting ? nullptr : build(parameters);
    };
}

BuildFunc setting(Names names, Codec codec) {
    return point(SettingPoint{std::move(names), std::move(codec), false}, buildSetting);
}

BuildFunc changeableSetting(std::string name, Codec codec) {
    return point(SettingPoint{{std::move(name)}, std::move(codec), true}, buildSetting);
}

BuildFunc computed(Compute compute, Names needed) {
    return point(ComputedPoint{std::move(compute), std::move(needed), false}, buildComputed);
}

BuildFunc structure(Compute compute) {
    return point(ComputedPoint{std::move(compute), {}, true}, buildComputed);
}

BuildFunc node(bool (*has)(const Snapshot& snapshot)) {
    return [has](const Parameters& parameters) -> ValueWrapperPtr {
        return has(*contextOf(parameters).shape) ? std::make_unique<DummyWrapper>() : nullptr;
    };
}

BuildFunc onlyWith(bool (*has)(const Snapshot& snapshot), BuildFunc function) {
    return [has, build = std::move(function)](const Parameters& parameters) -> ValueWrapperPtr {
        return has(*contextOf(parameters).shape) ? build(parameters) : nullptr;
    };
}

BuildFunc item(std::uint32_t (*count)(const Snapshot& snapshot), BuildFunc function) {
    return [count, build = std::move(function)](const Parameters& parameters) -> ValueWrapperPtr {
        const auto indices = PathIndices::of(parameters.path);
        const bool isItem = indices && indices->circuit <= count(*contextOf(parameters).shape);
        return isItem ? build(parameters) : nullptr;
    };
}

BuildFunc action(std::vector<ActionStep> steps) {
    return point(std::move(steps), buildAction);
}

BuildFunc alarmFile() {
    return [](const Parameters& parameters) -> ValueWrapperPtr {
        const std::string& file = contextOf(parameters).alarms.file();
        return file.empty() ? nullptr : std::make_unique<ConstROValueWrapper<std::string>>(file);
    };
}

BuildFunc lastResortUuid() {
    return [](const Parameters& parameters) -> ValueWrapperPtr {
        const BuildContext& context = contextOf(parameters);
        if (hasOwnIdentity(*context.shape)) {
            return nullptr; // the library derives a better one, which goes with the device from port to port
        }
        return std::make_unique<ConstROValueWrapper<std::string>>(
            addressIdentity(context.device->configuration).toString());
    };
}

} // namespace velk::nut
