#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Base of converters that only change what is read.
class VELK_EXPORT ROConverter : public ROValueWrapper {
public:
    /// `inner` is never null.
    explicit ROConverter(ValueWrapperPtr inner);
    ~ROConverter() override;

    /// Empty when the wrapper inside reads as empty; otherwise `rawToConverted` of what it reads.
    Value read() const override;

    /// From the device's value, which is never empty, to the data model's.
    virtual Value rawToConverted(const Value& raw) const = 0;

private:
    ValueWrapperPtr wrapper;
};

} // namespace velk::powerdistribution::protocols
