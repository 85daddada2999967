#pragma once

#include "testing/RedisServer.h"

#include <ctime>

namespace velk::benchmarks {

/// A Redis server that tells what it costs.
class MeasuredServer : public testing::RedisServer {
public:
    /// CPU time that it has used, in nanoseconds.
    double cpuNs() const {
        clockid_t clock{};
        clock_getcpuclockid(pid(), &clock);
        timespec used{};
        clock_gettime(clock, &used);
        return static_cast<double>(used.tv_sec) * 1e9 + static_cast<double>(used.tv_nsec);
    }
};

} // namespace velk::benchmarks
