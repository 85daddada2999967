#include "powerdistribution/protocols/AddConverter.h"

namespace velk::powerdistribution::protocols {

AddConverter::~AddConverter() = default;

float AddConverter::forwardOperation(float a, float b) const {
    return a + b;
}

float AddConverter::reverseOperation(float a, float b) const {
    return a - b;
}

} // namespace velk::powerdistribution::protocols
