#include "powerdistribution/protocols/OperationWrapperConverter.h"

#include "powerdistribution/protocols/SaturatingCast.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

Value readOperand(const IValueWrapper* operand) {
    if (operand == nullptr || !operand->isReadable()) {
        return {};
    }
    return operand->read();
}

float toFloat(const Value& value) {
    if (const auto* number = value.getIf<std::int32_t>()) {
        return static_cast<float>(*number);
    }
    if (const auto* number = value.getIf<std::uint32_t>()) {
        return static_cast<float>(*number);
    }
    if (const auto* number = value.getIf<float>()) {
        return *number;
    }
    throw std::invalid_argument{"OperationWrapperConverter - Unable to convert type " + typeName(value) +
                                " to float"};
}

/// `result` in the alternative that `model` holds.
Value withAlternativeOf(const Value& model, float result) {
    if (model.holds<std::uint32_t>()) {
        return saturatingCast<std::uint32_t>(result);
    }
    if (model.holds<std::int32_t>()) {
        return saturatingCast<std::int32_t>(result);
    }
    return result;
}

} // namespace

OperationWrapperConverter::OperationWrapperConverter(ValueWrapperPtr inner, ValueWrapperPtr operandWrapper) :
    Converter{std::move(inner)}, operand{std::move(operandWrapper)} {}

OperationWrapperConverter::~OperationWrapperConverter() = default;

Value OperationWrapperConverter::convertedToRaw(const Value& value) const {
    const Value other = readOperand(operand.get());
    if (!value.hasValue() || !other.hasValue()) {
        return {};
    }
    const float a = toFloat(value);
    return withAlternativeOf(value, reverseOperation(a, toFloat(other)));
}

Value OperationWrapperConverter::rawToConverted(const Value& raw) const {
    const Value other = readOperand(operand.get());
    if (!raw.hasValue() || !other.hasValue()) {
        return {};
    }
    const float a = toFloat(raw);
    return withAlternativeOf(raw, forwardOperation(a, toFloat(other)));
}

} // namespace velk::powerdistribution::protocols
