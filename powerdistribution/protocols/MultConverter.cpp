#include "powerdistribution/protocols/MultConverter.h"

namespace velk::powerdistribution::protocols {

MultConverter::~MultConverter() = default;

float MultConverter::forwardOperation(float a, float b) const {
    return a * b;
}

float MultConverter::reverseOperation(float a, float b) const {
    return a / b;
}

} // namespace velk::powerdistribution::protocols
