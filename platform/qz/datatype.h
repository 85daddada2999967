#pragma once

#include "platform/common/Export.h"

#include <cstdint>
#include <string>

namespace qz {

/// What a channel of the store holds. The numbers are contract.
enum class datatype : std::uint32_t {
    boolean = 0,
    int32 = 1,
    int64 = 2,
    uint32 = 3,
    uint64 = 4,
    float32 = 5,
    float64 = 6,
    timestamp = 7,
    string = 8,
    binary = 9,
    unknown = 255, ///< what the store answers for a channel that it does not have
};

/// The enumerator's name; "unknown (" then the number then ")" for every number beyond 9.
VELK_EXPORT std::string to_string(datatype type);

} // namespace qz
