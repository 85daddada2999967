#pragma once

#include <cstddef>
#include <cstdint>

namespace velk::benchmarks {

/// A stretch of time at one rate. Times are those of `nowNs`.
struct Step {
    std::int64_t beginNs{0};
    std::int64_t endNs{0};
    double groupsPerSecond{0.0}; ///< of all gateways of the process that gets the step
};

/// What a process has to say of its step: a writer of its writes, a listener of the delays from the moment
/// when a write was due until it was heard.
struct Result {
    std::size_t count{0};
    std::int64_t medianNs{0};
    std::int64_t p99Ns{0};
    std::int64_t mostNs{0};
};

} // namespace velk::benchmarks
