#pragma once

#include <cstdint>

namespace tessapi {

/// Who has made an entry of the log of changes, and with which of its calls: the numbers of a writer rise,
/// whichever server it writes to. A plain value.
struct WriteMark {
    std::uint64_t writer{0};
    std::uint64_t number{0}; ///< from 1 on; 0 for an entry that does not say so

    friend bool operator==(const WriteMark&, const WriteMark&) = default;
};

} // namespace tessapi
