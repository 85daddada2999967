#pragma once

#include <cstdint>

namespace qz::sub {

/// What a subscription reports, as a plain number.
using subscription_type = std::uint32_t;

inline constexpr subscription_type everyWrite = 0; ///< one call per write, also of an unchanged value
inline constexpr subscription_type attributes = 3; ///< one call per write of a device's attribute
inline constexpr subscription_type changes = 15;   ///< when the value differs from the one delivered last

} // namespace qz::sub
