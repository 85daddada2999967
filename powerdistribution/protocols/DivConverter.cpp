#include "powerdistribution/protocols/DivConverter.h"

namespace velk::powerdistribution::protocols {

DivConverter::~DivConverter() = default;

float DivConverter::forwardOperation(float a, float b) const {
    return a / b;
}

float DivConverter::reverseOperation(float a, float b) const {
    return a * b;
}

} // namespace velk::powerdistribution::protocols
