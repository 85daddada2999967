#pragma once

#include "powerdistribution/core/ValueEnums.h"

#include <cstdint>

/// The numbers that the operating status of a node takes here.
namespace velk::powerdistribution::protocols::operatingstatus {

inline constexpr std::uint32_t UNKNOWN = 0; ///< no communication, or the device says nothing
inline constexpr std::uint32_t STOPPED = 5;
inline constexpr std::uint32_t IN_SERVICE = 16;

/// What a value of `Status.Mode` says of the whole device; 0 is no mode.
constexpr std::uint32_t ofMode(std::uint32_t mode) {
    if (mode == 0) {
        return UNKNOWN;
    }
    return mode == static_cast<std::uint32_t>(Mode::Off) ? STOPPED : IN_SERVICE;
}

} // namespace velk::powerdistribution::protocols::operatingstatus
