#pragma once

#include "platform/common/Export.h"

#include <compare>
#include <cstdint>
#include <ostream>
#include <string>

namespace conv {

/// A point in time in whole seconds since 1970-01-01 00:00:00 UTC, up to 2106. A plain value.
class VELK_EXPORT UnixTime {
public:
    constexpr UnixTime() = default;
    constexpr explicit UnixTime(std::uint32_t secondsSinceEpoch) : seconds{secondsSinceEpoch} {}

    /// The present time of the machine's wall clock.
    static UnixTime now();

    constexpr std::uint32_t toIntegralType() const { return seconds; }

    /// Exactly 24 characters, "2024-01-31T12:34:56.000Z".
    std::string toIso8601() const;

    friend constexpr auto
    operator<=>(const UnixTime&, const UnixTime&) = default; // NOLINT(modernize-use-nullptr): no null pointer

private:
    std::uint32_t seconds{0};
};

/// Prints `toIso8601`.
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const UnixTime& time);

} // namespace conv
