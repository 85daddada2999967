#pragma once

#include "powerdistribution/protocols/OperationWrapperConverter.h"

namespace velk::powerdistribution::protocols {

/// Reads a + b, writes a − b.
class VELK_EXPORT AddConverter : public OperationWrapperConverter {
public:
    using OperationWrapperConverter::OperationWrapperConverter;
    ~AddConverter() override;
    float forwardOperation(float a, float b) const override;
    float reverseOperation(float a, float b) const override;
};

} // namespace velk::powerdistribution::protocols
