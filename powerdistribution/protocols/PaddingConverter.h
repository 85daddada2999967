#pragma once

#include "powerdistribution/protocols/Converter.h"

#include <cstdint>

namespace velk::powerdistribution::protocols {

/// For text fields of fixed width in the device.
class VELK_EXPORT PaddingConverter : public Converter {
public:
    /// `fieldSize` counts bytes.
    PaddingConverter(ValueWrapperPtr inner, std::uint32_t fieldSize);
    ~PaddingConverter() override;

    /// The text with exactly the field's size: filled up with blanks at its end, or cut.
    /// Throws `UnexpectedIndex` for anything but a string.
    Value convertedToRaw(const Value& value) const override;

    /// What the device holds, blanks and all.
    Value rawToConverted(const Value& raw) const override;

private:
    std::uint32_t size;
};

} // namespace velk::powerdistribution::protocols
