#pragma once

#include "powerdistribution/protocols/WOValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Base of converters that only change what is written.
class VELK_EXPORT WOConverter : public WOValueWrapper {
public:
    /// `inner` is never null.
    explicit WOConverter(ValueWrapperPtr inner);
    ~WOConverter() override;

    /// False for an empty value and when `convertedToRaw` gives an empty one; otherwise what the wrapper
    /// inside says.
    bool write(const Value& value) override;

    /// From the data model's value, which is never empty, to the device's.
    virtual Value convertedToRaw(const Value& value) const = 0;

private:
    ValueWrapperPtr wrapper;
};

} // namespace velk::powerdistribution::protocols
