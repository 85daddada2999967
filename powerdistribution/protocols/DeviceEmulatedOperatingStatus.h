#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// The operating status of a device that has only a mode. Its wrapper may be null.
class VELK_EXPORT DeviceEmulatedOperatingStatus : public ROValueWrapper {
public:
    explicit DeviceEmulatedOperatingStatus(ValueWrapperPtr modeWrapper);
    ~DeviceEmulatedOperatingStatus() override;

    /// 0 for mode 0, 5 for mode 1 (off), 16 for any other; empty when the mode is not a uint32.
    /// Required: an int32, where the store's channel is unsigned; what reads it takes a number of either
    /// kind.
    Value read() const override;

private:
    ValueWrapperPtr mode;
};

} // namespace velk::powerdistribution::protocols
