#include "platform/common/CpuLoadCooldown.h"

namespace velk::common::sched {

ICooldown::~ICooldown() = default;

CpuLoadCooldown::CpuLoadCooldown(std::uint32_t maxLoadPercent, std::uint32_t maxRestMs, Clock& timeSource) :
    regulator{maxLoadPercent, maxRestMs}, clock{timeSource} {}

CpuLoadCooldown::~CpuLoadCooldown() = default;

void CpuLoadCooldown::begin() {
    regulator.begin(clock.now(), clock.cpuTime());
}

void CpuLoadCooldown::rest() {
    const Clock::Duration cpu = clock.cpuTime();
    const Clock::Duration start = clock.now();
    const Clock::Duration deadline = start + regulator.pause(start, cpu);
    {
        MutexLock lock{mutex};
        for (auto now = start; !interruptRequested && now < deadline; now = clock.now()) {
            clock.waitFor(interrupted, lock, deadline - now);
        }
        interruptRequested = false;
    }
    // What other threads use during this rest counts for the next one: hence the CPU time of its start.
    regulator.begin(clock.now(), cpu);
}

void CpuLoadCooldown::interrupt() {
    {
        const MutexLock lock{mutex};
        interruptRequested = true;
    }
    interrupted.notify_all();
}

} // namespace velk::common::sched
