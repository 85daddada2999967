#pragma once

#include "powerdistribution/protocols/ROConverter.h"

namespace velk::powerdistribution::protocols {

/// The size of a number without its sign. Read-only, since the sign is lost on the way in.
class VELK_EXPORT AbsConverter : public ROConverter {
public:
    using ROConverter::ROConverter;
    ~AbsConverter() override;

    /// Keeps the alternative of uint32, int32 and float. The lowest int32 gives the highest one. Everything
    /// else throws std::invalid_argument "make_absolute - Unable to return absolute value for type " and the
    /// type's name.
    Value rawToConverted(const Value& raw) const override;
};

} // namespace velk::powerdistribution::protocols
