#pragma once

#include "powerdistribution/protocols/Converter.h"

namespace velk::powerdistribution::protocols {

/// Base of converters that compute with a second data point, the operand, in single precision. The operand is
/// read anew on every call.
///
/// The result has the alternative of the value that is converted (int32, uint32 or float), whatever the
/// operand's; integers are cut off, saturate, and are 0 for NaN. An empty or unreadable operand, a null one
/// and an empty value give an empty result. Any other alternative throws std::invalid_argument
/// "OperationWrapperConverter - Unable to convert type ", the type's name and " to float".
class VELK_EXPORT OperationWrapperConverter : public Converter {
public:
    OperationWrapperConverter(ValueWrapperPtr inner, ValueWrapperPtr operandWrapper);
    ~OperationWrapperConverter() override;

    Value convertedToRaw(const Value& value) const override;
    Value rawToConverted(const Value& raw) const override;

    /// From the device's value `a` and the operand `b` to the data model's value.
    virtual float forwardOperation(float a, float b) const = 0;

    /// From the data model's value `a` and the operand `b` to the device's value.
    virtual float reverseOperation(float a, float b) const = 0;

private:
    ValueWrapperPtr operand;
};

} // namespace velk::powerdistribution::protocols
