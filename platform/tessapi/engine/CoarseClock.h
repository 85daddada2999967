#pragma once

#include <cstdint>
#include <ctime>

namespace tessapi {

/// Milliseconds of a clock that nobody sets, exact to some of them; asking costs next to nothing.
inline std::int64_t coarseNowMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

} // namespace tessapi
