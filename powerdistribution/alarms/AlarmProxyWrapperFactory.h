#pragma once

#include "powerdistribution/alarms/AlarmConfigurationParser.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <memory>
#include <string>
#include <string_view>

namespace velk::powerdistribution {

/// Puts the alarm configuration that the device's "Private.AlarmConfigurationFile" names on top of `factory`;
/// gives `factory` itself when it names none. Failures of the parser pass through.
std::shared_ptr<protocols::IWrapperFactory>
buildAlarmProxyWrapperFactory(std::shared_ptr<protocols::IWrapperFactory> factory);

} // namespace velk::powerdistribution

namespace velk::powerdistribution::protocols {

/// Attaches alarm configuration to the data points of another factory, which knows nothing of it.
///
/// Threads: read-only after construction; `buildWrapper` may come from any thread.
class AlarmProxyWrapperFactory final : public IWrapperFactory, public IRuleNaming {
public:
    /// Parses `alarmFile` at once; failures of the parser pass through.
    AlarmProxyWrapperFactory(std::shared_ptr<IWrapperFactory> factory, std::string_view alarmFile);
    ~AlarmProxyWrapperFactory() override;

    const velk::common::Uuid& protocolUuid() const override;

    /// Null for a path that the protocol does not serve, whatever the file says; the protocol's own wrapper
    /// for a path that the file does not name.
    ValueWrapperPtr buildWrapper(const EPath& path) const override;
    std::string ruleOf(const EPath& path) const override;

private:
    const std::shared_ptr<IWrapperFactory> wrappers;
    const AlarmConfigurationParser parser;
};

} // namespace velk::powerdistribution::protocols
