#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <string>

namespace velk::powerdistribution::protocols {

/// What a wrapper factory may offer beside its contract: to tell by which rule it serves a path, for people
/// who ask where a value comes from. The order of the operations is contract.
class VELK_EXPORT IRuleNaming {
public:
    virtual ~IRuleNaming();

    /// One line such as "Inputs.[1..2].Measure.Voltage from input.voltage"; empty for a path that is not
    /// served. Does not wait for the device. Threads: any.
    virtual std::string ruleOf(const EPath& path) const = 0;
};

/// What a wrapper may offer beside its contract.
class VELK_EXPORT ISourceNaming {
public:
    virtual ~ISourceNaming();

    /// What the device calls it: "input.voltage", "register 40012". Does not wait for the device.
    virtual std::string sourceName() const = 0;
};

/// The rule by which `factory` serves `path`; empty when it tells none, or fails.
VELK_EXPORT std::string ruleOf(const IWrapperFactory& factory, const EPath& path);

} // namespace velk::powerdistribution::protocols
