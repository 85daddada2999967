#pragma once

#include "powerdistribution/protocols/OperationWrapperConverter.h"

namespace velk::powerdistribution::protocols {

/// Reads b percent of a, writes the number of which a is b percent.
class VELK_EXPORT MultWithPercentConverter : public OperationWrapperConverter {
public:
    using OperationWrapperConverter::OperationWrapperConverter;
    ~MultWithPercentConverter() override;
    float forwardOperation(float a, float b) const override;
    float reverseOperation(float a, float b) const override;
};

} // namespace velk::powerdistribution::protocols
