#include "plugins/simulator/SimulatorProtocolLibrary.h"

#include "plugins/simulator/SimulatorProtocol.h"
#include "plugins/simulator/SimulatorProtocolBuilder.h"
#include "plugins/simulator/faulty/FaultyWrapperFactory.h"

#include <stdexcept>
#include <utility>

namespace velk::simulator {

using powerdistribution::protocols::IProtocol;
using powerdistribution::protocols::IProtocolBuilder;
using powerdistribution::protocols::IWrapperFactory;

SimulatorProtocolLibrary::SimulatorProtocolLibrary(SimulatorConfiguration settings) :
    configuration{std::make_shared<const SimulatorConfiguration>(std::move(settings))},
    faults{std::make_shared<FaultTable>(configuration->faults)} {}

SimulatorProtocolLibrary::~SimulatorProtocolLibrary() = default;

std::shared_ptr<IProtocolBuilder> SimulatorProtocolLibrary::builder() const {
    faults->throwIf(Operation::Builder);
    return std::make_shared<SimulatorProtocolBuilder>(configuration, faults);
}

std::shared_ptr<IWrapperFactory>
SimulatorProtocolLibrary::wrapperFactory(std::shared_ptr<IProtocol> protocol) const {
    faults->throwIf(Operation::WrapperFactory);
    auto own = std::dynamic_pointer_cast<SimulatorProtocol>(std::move(protocol));
    if (!own) {
        throw std::invalid_argument{configuration->section + ": the protocol is not of this plug-in"};
    }
    return std::make_shared<FaultyWrapperFactory>(std::move(own), configuration->alarmFile, faults);
}

} // namespace velk::simulator
