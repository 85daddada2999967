#pragma once

#include "powerdistribution/protocols/IValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Base of converters that change a value on its way from the device and back.
///
/// Threads: has no lock and no state; as safe as the wrapper inside.
class VELK_EXPORT Converter : public IValueWrapper {
public:
    /// `inner` is never null.
    explicit Converter(ValueWrapperPtr inner);
    ~Converter() override;

    /// What the wrapper inside says.
    bool isReadable() const override;
    bool isWritable() const override;

    /// Empty when the wrapper inside is not readable or reads as empty; otherwise `rawToConverted` of what it
    /// reads.
    Value read() const override;

    /// False when the wrapper inside is not writable, for an empty value and when `convertedToRaw` gives an
    /// empty one; otherwise what the wrapper inside says.
    bool write(const Value& value) override;

    /// Required: none, whatever the wrapper inside carries.
    DataConfig dataConfig() const override;

    /// From the data model's value, which is never empty, to the device's.
    virtual Value convertedToRaw(const Value& value) const = 0;

    /// From the device's value, which is never empty, to the data model's.
    virtual Value rawToConverted(const Value& raw) const = 0;

private:
    ValueWrapperPtr wrapper;
};

} // namespace velk::powerdistribution::protocols
