#pragma once

#include "powerdistribution/protocols/OperationWrapperConverter.h"

namespace velk::powerdistribution::protocols {

/// Reads a − b for quantities that cannot be negative, writes a + b.
/// Required: a difference with the sign bit set, so also negative zero, reads as 0; the way back does not
/// undo that.
class VELK_EXPORT PosSubConverter : public OperationWrapperConverter {
public:
    using OperationWrapperConverter::OperationWrapperConverter;
    ~PosSubConverter() override;
    float forwardOperation(float a, float b) const override;
    float reverseOperation(float a, float b) const override;
};

} // namespace velk::powerdistribution::protocols
