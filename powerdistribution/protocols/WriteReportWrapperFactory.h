#pragma once

#include "powerdistribution/core/DeviceWrite.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <memory>
#include <string>

namespace velk::powerdistribution::protocols {

/// Tells a listener of every write that reaches the device. Stands right before the plug-in's factory; all
/// that it adds to a wrapper of a setting or an action is the report.
class WriteReportWrapperFactory : public IWrapperFactory, public IRuleNaming {
public:
    /// `listener` is not empty.
    WriteReportWrapperFactory(std::shared_ptr<IWrapperFactory> deviceFactory,
                              DeviceWriteListener writeListener);
    ~WriteReportWrapperFactory() override;

    const velk::common::Uuid& protocolUuid() const override;
    ValueWrapperPtr buildWrapper(const EPath& path) const override;
    std::string ruleOf(const EPath& path) const override;

private:
    std::shared_ptr<IWrapperFactory> factory;
    DeviceWriteListener listener;
};

} // namespace velk::powerdistribution::protocols
