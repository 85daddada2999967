#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace qz {

/// A point in time in seconds since 1970 UTC, with the strftime format in which programs show it.
/// Two timestamps are equal when their seconds are.
struct CTimestamp {
    std::int64_t seconds{0};
    std::string format{"%F %T"};

    friend bool operator==(const CTimestamp& a, const CTimestamp& b) { return a.seconds == b.seconds; }
};

} // namespace qz
