#include "powerdistribution/protocols/VoltageOutOfRangeConverter.h"

#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

bool isTrue(const ValueWrapperPtr& wrapper) {
    const Value value = wrapper ? wrapper->read() : Value{};
    const auto* flag = value.getIf<bool>();
    return flag != nullptr && *flag;
}

} // namespace

VoltageOutOfRangeConverter::VoltageOutOfRangeConverter(ValueWrapperPtr highWrapper,
                                                       ValueWrapperPtr lowWrapper) :
    high{std::move(highWrapper)}, low{std::move(lowWrapper)} {}

VoltageOutOfRangeConverter::~VoltageOutOfRangeConverter() = default;

Value VoltageOutOfRangeConverter::read() const {
    const bool tooHigh = isTrue(high);
    const bool tooLow = isTrue(low);
    return tooHigh || tooLow;
}

} // namespace velk::powerdistribution::protocols
