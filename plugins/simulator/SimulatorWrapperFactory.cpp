#include "plugins/simulator/SimulatorWrapperFactory.h"

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include <any>
#include <utility>

namespace velk::simulator {

using powerdistribution::protocols::Rule;
using powerdistribution::protocols::RuleBasedWrapperBuilder;
using powerdistribution::protocols::ValueWrapperPtr;

SimulatorWrapperFactory::SimulatorWrapperFactory(std::shared_ptr<SimulatorProtocol> found,
                                                 const std::string& alarmFile) :
    protocol{std::move(found)},
    alarms{alarmFile},
    context{protocol->link(), protocol->link()->shape(), alarms} {}

SimulatorWrapperFactory::~SimulatorWrapperFactory() = default;

const velk::common::Uuid& SimulatorWrapperFactory::protocolUuid() const {
    return protocol->protocolUuid();
}

ValueWrapperPtr SimulatorWrapperFactory::buildWrapper(const powerdistribution::EPath& path) const {
    // The argument reaches every function of the tables; the builder itself costs nothing to make.
    const std::any argument{&context};
    Rule::ExecutionParameters walk{path, 0, *this, protocol, argument};
    return RuleBasedWrapperBuilder{deviceRules()}.buildWrapper(walk);
}

std::string SimulatorWrapperFactory::ruleOf(const powerdistribution::EPath& path) const {
    const std::any argument{&context};
    Rule::ExecutionParameters walk{path, 0, *this, protocol, argument};
    return RuleBasedWrapperBuilder{deviceRules()}.ruleOf(walk);
}

} // namespace velk::simulator
