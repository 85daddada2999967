#pragma once

#include "plugins/nut/AlarmThresholds.h"
#include "plugins/nut/NutProtocol.h"
#include "plugins/nut/Points.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <memory>
#include <string>

namespace velk::nut {

/// The wrappers of the device that a protocol has found. Which paths are served is decided by the last good
/// data before the factory was made, so that a tree that is built during a loss is whole.
class NutWrapperFactory final : public powerdistribution::protocols::IWrapperFactory,
                                public powerdistribution::protocols::IRuleNaming {
public:
    explicit NutWrapperFactory(std::shared_ptr<NutProtocol> foundProtocol);
    ~NutWrapperFactory() override;

    const velk::common::Uuid& protocolUuid() const override;
    powerdistribution::protocols::ValueWrapperPtr
    buildWrapper(const powerdistribution::EPath& path) const override;
    std::string ruleOf(const powerdistribution::EPath& path) const override;

private:
    std::shared_ptr<NutProtocol> protocol;
    AlarmThresholds alarms;
    BuildContext context;
};

} // namespace velk::nut
