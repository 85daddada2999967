#include "powerdistribution/protocols/MultWithPercentConverter.h"

namespace velk::powerdistribution::protocols {

MultWithPercentConverter::~MultWithPercentConverter() = default;

float MultWithPercentConverter::forwardOperation(float a, float b) const {
    return (b / 100.0f) * a;
}

float MultWithPercentConverter::reverseOperation(float a, float b) const {
    return a / (b / 100.0f);
}

} // namespace velk::powerdistribution::protocols
