#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Two texts of the device as one, with a blank between them.
class VELK_EXPORT ConcatenatedStringWrapper : public ROValueWrapper {
public:
    /// Neither wrapper is null.
    ConcatenatedStringWrapper(ValueWrapperPtr firstPart, ValueWrapperPtr secondPart);
    ~ConcatenatedStringWrapper() override;

    /// Always a string. What is not a string counts as an empty part; the blank stands only between two parts
    /// that are not empty.
    Value read() const override;

private:
    ValueWrapperPtr first;
    ValueWrapperPtr second;
};

} // namespace velk::powerdistribution::protocols
