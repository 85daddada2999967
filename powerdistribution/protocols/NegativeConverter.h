#pragma once

#include "powerdistribution/protocols/Converter.h"

namespace velk::powerdistribution::protocols {

/// Turns the sign of a number, both ways.
class VELK_EXPORT NegativeConverter : public Converter {
public:
    using Converter::Converter;
    ~NegativeConverter() override;

    /// A uint32 becomes the int32 of its two's-complement negation; int32 and float keep their alternative.
    /// The lowest int32 gives the highest one. Everything else throws std::invalid_argument
    /// "make_negative - Unable to negate type " and the type's name.
    Value convertedToRaw(const Value& value) const override;
    Value rawToConverted(const Value& raw) const override;
};

} // namespace velk::powerdistribution::protocols
