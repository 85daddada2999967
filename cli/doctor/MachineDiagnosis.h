#pragma once

#include "cli/doctor/Diagnosis.h"
#include "platform/common/Clock.h"
#include "platform/tessapi/StoreHealth.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velk::cli {

/// What the clocks say. Points in time are milliseconds since 1970 UTC by the wall clock.
struct ClockFacts {
    std::int64_t nowMs{0};
    std::int64_t newestStampMs{0};        ///< of the store; 0 for none
    std::optional<bool> isSynchronised{}; ///< by the kernel; empty when it does not say
    /// When the daemon was started, by the clock that runs since the boot and does not jump; 0 when there is
    /// none.
    std::int64_t daemonStartedMs{0};
    std::int64_t daemonSaidMs{0}; ///< when it said so in the store, by the wall clock of then
};

Diagnoses diagnoseClock(const ClockFacts& facts);

/// `isSynchronised` of the kernel's clock.
std::optional<bool> isClockSynchronised();
/// When the process of a mark was started; 0 when that cannot be told.
std::int64_t startOfProcessMs(const std::string& mark, std::int64_t nowMs);
/// How long the file has been there, at most since the boot; since the boot when nobody knows.
double secondsSinceMade(const std::string& path, std::int64_t nowMs);

/// How full a file system is.
struct DiskFacts {
    std::string what; ///< "store", "copy", "history"
    std::string path;
    double bytes{0.0};
    double freeBytes{0.0}; ///< for this user
    double files{0.0};     ///< 0 where they are not counted
    double freeFiles{0.0};
};

std::optional<DiskFacts> diskOf(const std::string& what, const std::string& path);
Diagnosis diagnoseDisk(const DiskFacts& disk);

/// What the copies to the disk cost it. They are counted in the file that is worked on, which has been there
/// for `countedSeconds`.
Diagnosis diagnoseWear(const tessapi::StoreHealth& health, double countedSeconds);

/// A store as it stands after what waited for its copy had the time that this takes.
struct SettledHealth {
    tessapi::StoreHealth health;
    bool isCopyStuck{false}; ///< changes wait, and nothing was copied while it was looked at
};

/// Looks again and again, by `clock`, as long as changes wait and nothing is copied, but not for long. Every
/// program that has the store open copies, so also the one that looks.
SettledHealth settledHealth(const std::function<tessapi::StoreHealth()>& look, velk::common::Clock& clock);

/// Whether what has to go somewhere gets there: the copy to the disk, the write-ahead log into the file. Of a
/// store on a server `diagnoseOutages` tells. `nowMs` is only for the age of what was copied.
Diagnoses diagnoseQueues(const SettledHealth& settled, std::int64_t nowMs);

} // namespace velk::cli
