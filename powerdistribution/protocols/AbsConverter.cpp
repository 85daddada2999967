#include "powerdistribution/protocols/AbsConverter.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace velk::powerdistribution::protocols {

namespace {

std::int32_t absolute(std::int32_t number) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (number == Limits::min()) {
        return Limits::max();
    }
    return number < 0 ? -number : number;
}

} // namespace

AbsConverter::~AbsConverter() = default;

Value AbsConverter::rawToConverted(const Value& raw) const {
    if (raw.holds<std::uint32_t>()) {
        return raw;
    }
    if (const auto* number = raw.getIf<std::int32_t>()) {
        return absolute(*number);
    }
    if (const auto* number = raw.getIf<float>()) {
        return std::fabs(*number);
    }
    throw std::invalid_argument{"make_absolute - Unable to return absolute value for type " + typeName(raw)};
}

} // namespace velk::powerdistribution::protocols
