#include "powerdistribution/protocols/OperatingStatusModeWrapper.h"

#include "powerdistribution/protocols/OperatingStatus.h"
#include "powerdistribution/protocols/StatusTests.h"

#include <cstdint>
#include <utility>

namespace velk::powerdistribution::protocols {

OperatingStatusModeWrapper::OperatingStatusModeWrapper(ValueWrapperPtr modeWrapper,
                                                       ValueWrapperPtr comWrapper) :
    mode{std::move(modeWrapper)}, com{std::move(comWrapper)} {}

OperatingStatusModeWrapper::~OperatingStatusModeWrapper() = default;

Value OperatingStatusModeWrapper::read() const {
    if (!handlers::isComOk(com)) {
        return operatingstatus::UNKNOWN;
    }
    const Value present = mode ? mode->read() : Value{};
    const auto* number = present.getIf<std::uint32_t>();
    return number == nullptr ? operatingstatus::STOPPED : operatingstatus::ofMode(*number);
}

} // namespace velk::powerdistribution::protocols
