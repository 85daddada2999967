#pragma once

#include "powerdistribution/core/DeviceLog.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/IWrapperFactory.h"
#include "powerdistribution/protocols/LogReportWrapper.h"

#include <memory>
#include <string>

namespace velk::powerdistribution::protocols {

/// Tells a listener of what comes of the device's event log. Stands right before the plug-in's factory; all
/// that it adds to the one wrapper that gives the log is the report.
class LogReportWrapperFactory : public IWrapperFactory, public IRuleNaming {
public:
    /// `listener` is not empty. Of all factories with the same count the newest wrapper alone reports.
    LogReportWrapperFactory(std::shared_ptr<IWrapperFactory> deviceFactory, DeviceLogListener logListener,
                            LogReportWrapper::Count madeBefore);
    ~LogReportWrapperFactory() override;

    const velk::common::Uuid& protocolUuid() const override;
    ValueWrapperPtr buildWrapper(const EPath& path) const override;
    std::string ruleOf(const EPath& path) const override;

private:
    std::shared_ptr<IWrapperFactory> factory;
    DeviceLogListener listener;
    LogReportWrapper::Count made;
};

} // namespace velk::powerdistribution::protocols
