#include "powerdistribution/protocols/ServiceStateWrapper.h"

#include <optional>

namespace velk::powerdistribution::protocols {

namespace {

std::optional<std::uint8_t> lowByte(const Value& value) {
    if (const auto* flag = value.getIf<bool>()) {
        return static_cast<std::uint8_t>(*flag ? 1 : 0);
    }
    if (const auto* number = value.getIf<std::int32_t>()) {
        return static_cast<std::uint8_t>(*number);
    }
    if (const auto* number = value.getIf<std::uint32_t>()) {
        return static_cast<std::uint8_t>(*number);
    }
    return std::nullopt;
}

} // namespace

std::atomic<std::uint8_t> ServiceStateWrapper::m_serviceState{0};

ServiceStateWrapper::~ServiceStateWrapper() = default;

Value ServiceStateWrapper::read() const {
    return std::uint32_t{m_serviceState.load()};
}

bool ServiceStateWrapper::write(const Value& value) {
    const auto next = lowByte(value);
    return next.has_value() && m_serviceState.exchange(*next) != *next;
}

} // namespace velk::powerdistribution::protocols
