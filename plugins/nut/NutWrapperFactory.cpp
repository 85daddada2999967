#include "plugins/nut/NutWrapperFactory.h"

#include "plugins/nut/Tables.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include <any>
#include <utility>

namespace velk::nut {

using powerdistribution::protocols::Rule;
using powerdistribution::protocols::RuleBasedWrapperBuilder;
using powerdistribution::protocols::ValueWrapperPtr;

namespace {

/// A device of which nothing is known yet has nothing.
std::shared_ptr<const Snapshot> shapeOf(const NutDevice& device) {
    auto shape = device.poller.lastGood();
    if (shape) {
        return shape;
    }
    return std::make_shared<const Snapshot>(Snapshot{{}, std::make_shared<const Capabilities>()});
}

} // namespace

NutWrapperFactory::NutWrapperFactory(std::shared_ptr<NutProtocol> foundProtocol) :
    protocol{std::move(foundProtocol)},
    alarms{protocol->device()->configuration.alarmFile},
    context{protocol->device(), shapeOf(*protocol->device()), alarms} {}

NutWrapperFactory::~NutWrapperFactory() = default;

const velk::common::Uuid& NutWrapperFactory::protocolUuid() const {
    return protocol->protocolUuid();
}

ValueWrapperPtr NutWrapperFactory::buildWrapper(const powerdistribution::EPath& path) const {
    const std::any argument{&context};
    Rule::ExecutionParameters parameters{path, 0, *this, protocol, argument};
    return RuleBasedWrapperBuilder{deviceRules()}.buildWrapper(parameters);
}

std::string NutWrapperFactory::ruleOf(const powerdistribution::EPath& path) const {
    const std::any argument{&context};
    Rule::ExecutionParameters parameters{path, 0, *this, protocol, argument};
    return RuleBasedWrapperBuilder{deviceRules()}.ruleOf(parameters);
}

} // namespace velk::nut
