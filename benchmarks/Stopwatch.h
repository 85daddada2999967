#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <thread>

namespace velk::benchmarks {

inline double nanoseconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/// Of a clock that all processes share.
inline double nowNs() {
    return nanoseconds(CLOCK_MONOTONIC);
}

/// Of all threads of this process.
inline double cpuNs() {
    return nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
}

/// How long one of `count` runs of `work` takes, in nanoseconds.
template <class Work>
double perRun(int count, Work work) {
    const double begin = nowNs();
    for (int i = 0; i < count; ++i) {
        work(i);
    }
    return (nowNs() - begin) / count;
}

/// Runs `work` `count` times at `perSecond`, resting in between.
template <class Work>
void pace(int count, int perSecond, Work work) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        std::this_thread::sleep_until(begin + std::chrono::nanoseconds{1'000'000'000LL / perSecond * i});
        work(i);
    }
}

} // namespace velk::benchmarks
