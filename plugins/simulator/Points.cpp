#include "plugins/simulator/Points.h"

#include "plugins/simulator/LogChunkWrapper.h"
#include "plugins/simulator/PointWrapper.h"
#include "powerdistribution/protocols/ConstROValueWrapper.h"
#include "powerdistribution/protocols/DummyWrapper.h"
#include "powerdistribution/protocols/ROConverter.h"

#include <algorithm>
#include <any>
#include <cstdint>
#include <string>
#include <utility>

namespace velk::simulator {

using powerdistribution::Value;
using powerdistribution::protocols::ConstROValueWrapper;
using powerdistribution::protocols::DummyWrapper;
using powerdistribution::protocols::ROConverter;

namespace {

using Parameters = Rule::BuildFuncParameters;
using WhileLost = PointWrapper::WhileLost;

const BuildContext& contextOf(const Parameters& parameters) {
    return *std::any_cast<const BuildContext*>(*parameters.arguments.second);
}

/// The wrapper of the path asked for, or null when the device does not have it. The device knows its data
/// points by the same texts as the library; a device with names of its own has a column for them in its
/// tables.
ValueWrapperPtr buildPoint(const Parameters& parameters, WhileLost whileLost) {
    const BuildContext& context = contextOf(parameters);
    std::string text = parameters.path.nodesToString();
    const auto point = context.shape->find(text);
    if (point == context.shape->end()) {
        return nullptr;
    }
    return std::make_unique<PointWrapper>(context.link, std::move(text), point->second, whileLost);
}

/// Passes a value on while the link holds.
class ConnectedConverter final : public ROConverter {
public:
    ConnectedConverter(ValueWrapperPtr inner, std::shared_ptr<const DeviceLink> wire) :
        ROConverter{std::move(inner)}, link{std::move(wire)} {}

    Value rawToConverted(const Value& raw) const override {
        return link->status().state == 2 ? raw : Value{};
    }

private:
    std::shared_ptr<const DeviceLink> link;
};

} // namespace

ValueWrapperPtr own(const Parameters& parameters) {
    return buildPoint(parameters, WhileLost::Empty);
}

ValueWrapperPtr remembered(const Parameters& parameters) {
    return buildPoint(parameters, WhileLost::Last);
}

ValueWrapperPtr setting(const Parameters& parameters) {
    if (!contextOf(parameters).alarms.contain(parameters.path.nodesToString())) {
        return own(parameters);
    }
    auto threshold = remembered(parameters);
    return threshold && threshold->read().holds<float>() ? std::move(threshold) : nullptr;
}

ValueWrapperPtr node(const Parameters& parameters) {
    const Shape& shape = *contextOf(parameters).shape;
    const std::string prefix = parameters.path.nodesToString() + ".";
    const auto below = shape.lower_bound(prefix);
    const bool hasAny = below != shape.end() && below->first.compare(0, prefix.size(), prefix) == 0;
    return hasAny ? std::make_unique<DummyWrapper>() : nullptr;
}

ValueWrapperPtr alarmFile(const Parameters& parameters) {
    const std::string& file = contextOf(parameters).alarms.file();
    return file.empty() ? nullptr : std::make_unique<ConstROValueWrapper<std::string>>(file);
}

ValueWrapperPtr logChunk(const Parameters& parameters) {
    const BuildContext& context = contextOf(parameters);
    const bool hasLog = context.shape->count(parameters.path.nodesToString()) != 0;
    return hasLog ? std::make_unique<LogChunkWrapper>(context.link) : nullptr;
}

ValueWrapperPtr bootloaderMode(const Parameters& parameters) {
    return std::make_unique<PointWrapper>(contextOf(parameters).link, parameters.path.nodesToString(),
                                          PointInfo{}, WhileLost::Last);
}

BuildFunc beside(EPath::Node member) {
    return [member](const Parameters& parameters) {
        return parameters.factory.buildWrapper(parameters.path.parent() + member);
    };
}

BuildFunc ofOwner(EPath::Node member) {
    return [relative = EPath{member}](const Parameters& parameters) -> ValueWrapperPtr {
        // A pattern stands for many items and has no owner; asked for one, the toolkit would throw.
        const auto& nodes = parameters.path.nodes();
        const bool isOfAnItem = std::any_of(nodes.begin() + 1, nodes.end(), [](const auto& node) {
            return node.template holds<std::uint32_t>();
        });
        return isOfAnItem ? powerdistribution::protocols::_collectionParentIfSingleChild(parameters, relative)
                          : nullptr;
    };
}

BuildFunc whileConnected(BuildFunc function) {
    return [build = std::move(function)](const Parameters& parameters) -> ValueWrapperPtr {
        auto wrapper = build(parameters);
        if (!wrapper) {
            return nullptr;
        }
        return std::make_unique<ConnectedConverter>(std::move(wrapper), contextOf(parameters).link);
    };
}

} // namespace velk::simulator
