#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// The operating status of the device by its mode. Any of its wrappers may be null.
class OperatingStatusModeWrapper : public ROValueWrapper {
public:
    OperatingStatusModeWrapper(ValueWrapperPtr modeWrapper, ValueWrapperPtr comWrapper);
    ~OperatingStatusModeWrapper() override;

    /// A uint32: 0 without good communication and for mode 0; 5 for mode 1 (off) and for no mode; 16 for any
    /// other mode. Without good communication the mode is not asked.
    Value read() const override;

private:
    ValueWrapperPtr mode;
    ValueWrapperPtr com;
};

} // namespace velk::powerdistribution::protocols
