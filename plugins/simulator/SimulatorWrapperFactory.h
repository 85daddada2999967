#pragma once

#include "plugins/simulator/AlarmThresholds.h"
#include "plugins/simulator/Points.h"
#include "plugins/simulator/SimulatorProtocol.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <memory>
#include <string>

namespace velk::simulator {

/// From a path to the wrapper of its data point, by the rule tables. One is made each time that the device
/// has been found; which paths it serves is settled then, so that a tree that is built during a loss is
/// whole.
class SimulatorWrapperFactory : public powerdistribution::protocols::IWrapperFactory,
                                public powerdistribution::protocols::IRuleNaming {
public:
    SimulatorWrapperFactory(std::shared_ptr<SimulatorProtocol> found, const std::string& alarmFile);
    ~SimulatorWrapperFactory() override;

    const velk::common::Uuid& protocolUuid() const override;
    powerdistribution::protocols::ValueWrapperPtr
    buildWrapper(const powerdistribution::EPath& path) const override;
    std::string ruleOf(const powerdistribution::EPath& path) const override;

private:
    std::shared_ptr<SimulatorProtocol> protocol;
    AlarmThresholds alarms;
    BuildContext context;
};

} // namespace velk::simulator
