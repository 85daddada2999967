#include "powerdistribution/protocols/NegativeConverter.h"

#include <cstdint>
#include <limits>
#include <stdexcept>

namespace velk::powerdistribution::protocols {

namespace {

std::int32_t negated(std::int32_t number) {
    using Limits = std::numeric_limits<std::int32_t>;
    return number == Limits::min() ? Limits::max() : -number;
}

Value negate(const Value& value) {
    if (const auto* number = value.getIf<std::uint32_t>()) {
        return static_cast<std::int32_t>(0u - *number);
    }
    if (const auto* number = value.getIf<std::int32_t>()) {
        return negated(*number);
    }
    if (const auto* number = value.getIf<float>()) {
        return -*number;
    }
    throw std::invalid_argument{"make_negative - Unable to negate type " + typeName(value)};
}

} // namespace

NegativeConverter::~NegativeConverter() = default;

Value NegativeConverter::convertedToRaw(const Value& value) const {
    return negate(value);
}

Value NegativeConverter::rawToConverted(const Value& raw) const {
    return negate(raw);
}

} // namespace velk::powerdistribution::protocols
