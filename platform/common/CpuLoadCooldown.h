#pragma once

#include "platform/common/Clock.h"
#include "platform/common/CpuLoadRegulator.h"
#include "platform/common/Export.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>

namespace velk::common::sched {

/// What a scheduler rests by between two cycles.
class VELK_EXPORT ICooldown {
public:
    virtual ~ICooldown();

    /// Called once, on the thread that will rest, before the first cycle.
    virtual void begin() = 0;

    /// Blocks for as long as the load requires.
    virtual void rest() = 0;

    /// Ends a running rest, or the next one if none is running. Threads: any.
    virtual void interrupt() = 0;
};

/// Holds the process's CPU load under a limit by resting.
///
/// Threads: `begin` and `rest` on one thread, `interrupt` on any.
class VELK_EXPORT CpuLoadCooldown : public ICooldown {
public:
    /// `maxLoadPercent` of one core, clamped to 1..100; `maxRestMs` bounds every rest, in milliseconds.
    /// `clock` outlives this object.
    CpuLoadCooldown(std::uint32_t maxLoadPercent, std::uint32_t maxRestMs, Clock& clock = Clock::system());
    ~CpuLoadCooldown() override;

    void begin() override;
    void rest() override;
    void interrupt() override;

private:
    CpuLoadRegulator regulator;
    Clock& clock;
    Mutex mutex;
    std::condition_variable_any interrupted;
    bool interruptRequested VELK_GUARDED_BY(mutex){false};
};

} // namespace velk::common::sched
