#pragma once

#include "plugins/simulator/SimulatorWrapperFactory.h"
#include "plugins/simulator/world/FaultTable.h"

#include <memory>
#include <string>

namespace velk::simulator {

/// The factory with the faults of a plug-in. Derived data points are built through it too, so that a fault of
/// one data point shows in those that are computed from it.
class FaultyWrapperFactory final : public SimulatorWrapperFactory {
public:
    FaultyWrapperFactory(std::shared_ptr<SimulatorProtocol> found, const std::string& alarmFile,
                         std::shared_ptr<FaultTable> present);
    ~FaultyWrapperFactory() override;

    powerdistribution::protocols::ValueWrapperPtr
    buildWrapper(const powerdistribution::EPath& path) const override;

private:
    std::shared_ptr<FaultTable> faults;
};

} // namespace velk::simulator
