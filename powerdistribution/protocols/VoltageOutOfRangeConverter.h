#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// One status of two: the voltage is too high or too low. Any of its wrappers may be null.
class VELK_EXPORT VoltageOutOfRangeConverter : public ROValueWrapper {
public:
    VoltageOutOfRangeConverter(ValueWrapperPtr highWrapper, ValueWrapperPtr lowWrapper);
    ~VoltageOutOfRangeConverter() override;

    /// A bool, never empty; what is not a bool counts as false. Both are read every time.
    Value read() const override;

private:
    ValueWrapperPtr high;
    ValueWrapperPtr low;
};

} // namespace velk::powerdistribution::protocols
