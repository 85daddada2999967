#include "powerdistribution/protocols/PosSubConverter.h"

#include <cmath>

namespace velk::powerdistribution::protocols {

PosSubConverter::~PosSubConverter() = default;

float PosSubConverter::forwardOperation(float a, float b) const {
    const float difference = a - b;
    return std::signbit(difference) ? 0.0f : difference;
}

float PosSubConverter::reverseOperation(float a, float b) const {
    return a + b;
}

} // namespace velk::powerdistribution::protocols
