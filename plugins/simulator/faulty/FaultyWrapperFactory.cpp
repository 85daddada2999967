#include "plugins/simulator/faulty/FaultyWrapperFactory.h"

#include "plugins/simulator/faulty/FaultyWrapper.h"

#include <utility>

namespace velk::simulator {

using powerdistribution::protocols::ValueWrapperPtr;

FaultyWrapperFactory::FaultyWrapperFactory(std::shared_ptr<SimulatorProtocol> found,
                                           const std::string& alarmFile,
                                           std::shared_ptr<FaultTable> present) :
    SimulatorWrapperFactory{std::move(found), alarmFile}, faults{std::move(present)} {}

FaultyWrapperFactory::~FaultyWrapperFactory() = default;

ValueWrapperPtr FaultyWrapperFactory::buildWrapper(const powerdistribution::EPath& path) const {
    std::string text = path.nodesToString();
    faults->throwIf(Operation::BuildWrapper, text);
    auto wrapper = SimulatorWrapperFactory::buildWrapper(path);
    if (!wrapper) {
        return nullptr;
    }
    return std::make_unique<FaultyWrapper>(std::move(wrapper), std::move(text), faults);
}

} // namespace velk::simulator
