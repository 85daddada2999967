#pragma once

#include "platform/common/Clock.h"

namespace tessapi::faults {

/// Goes some times as fast as the clock of the machine, alike in all programs: what is copied every second
/// is then copied many times in a run that takes one.
/// Threads: any.
class FastClock final : public velk::common::Clock {
public:
    static constexpr int OF_KILLED_PROGRAMS = 4;

    explicit FastClock(int times) : factor{times} {}

    Duration now() const override { return machine.now() * factor; }
    Duration cpuTime() const override { return machine.cpuTime(); }
    void sleepFor(Duration pause) override { machine.sleepFor(pause / factor); }
    void waitFor(std::condition_variable_any& condition, velk::common::MutexLock& lock,
                 Duration timeout) override {
        machine.waitFor(condition, lock, timeout / factor);
    }

private:
    velk::common::Clock& machine{velk::common::Clock::system()};
    const int factor;
};

} // namespace tessapi::faults
