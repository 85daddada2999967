#include "powerdistribution/protocols/DeviceEmulatedOperatingStatus.h"

#include "powerdistribution/protocols/OperatingStatus.h"

#include <cstdint>
#include <utility>

namespace velk::powerdistribution::protocols {

DeviceEmulatedOperatingStatus::DeviceEmulatedOperatingStatus(ValueWrapperPtr modeWrapper) :
    mode{std::move(modeWrapper)} {}

DeviceEmulatedOperatingStatus::~DeviceEmulatedOperatingStatus() = default;

Value DeviceEmulatedOperatingStatus::read() const {
    const Value present = mode ? mode->read() : Value{};
    const auto* number = present.getIf<std::uint32_t>();
    return number == nullptr ? Value{} : Value{static_cast<std::int32_t>(operatingstatus::ofMode(*number))};
}

} // namespace velk::powerdistribution::protocols
