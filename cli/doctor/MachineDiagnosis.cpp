#include "cli/doctor/MachineDiagnosis.h"

#include "cli/TimeText.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/timex.h>
#include <unistd.h>

namespace velk::cli {

namespace {

/// 2024-01-01: no machine that runs this program lives before.
constexpr std::int64_t EARLIEST_MS = 1'704'067'200'000;
/// Two programs may differ by that, and a stamp and the question.
constexpr std::int64_t TOLERANCE_MS = 60'000;
constexpr const char* SET_CLOCK = "set the clock, and have it kept: timedatectl set-ntp true";

constexpr double MIB = 1024.0 * 1024.0;
constexpr double LEAST_FREE_BYTES = 10 * MIB;
constexpr double LEAST_FREE_SHARE = 0.05;
constexpr double LITTLE_FREE_SHARE = 0.10;

constexpr double WEARING_PER_HOUR = 15 * MIB;
constexpr double WEARING_OUT_PER_HOUR = 100 * MIB;
/// Of a shorter time a rate says nothing, but what was written in it would be much for so long, too.
constexpr double SHORTEST_COUNT_SECONDS = 600.0;

/// What is durable is on disk within a second; what is not by then waits for something.
constexpr std::chrono::milliseconds LONGEST_PENDING{3000};
constexpr std::chrono::milliseconds LOOK_AGAIN{250};
constexpr std::uint64_t LONG_LOG_BYTES = 16U << 20U;

std::string seconds(std::int64_t ms) {
    return spanText(static_cast<double>(ms) / 1000.0);
}

std::string percent(double share) {
    char text[16];
    std::snprintf(text, sizeof text, "%.0f %%", share * 100.0);
    return text;
}

/// Which nobody has made so far.
std::string madeText(const tessapi::StoreHealth::Copy& copy, std::int64_t nowMs) {
    return copy.lastMs == 0 ? "none was made yet" : "the last one was made " + timeAndAge(copy.lastMs, nowMs);
}

Diagnoses diagnoseCopy(const tessapi::StoreHealth::Copy& copy, bool isStuck, std::int64_t nowMs) {
    if (!copy.failure.empty()) {
        return {Diagnosis::problem("queue",
                                   "the copy to " + copy.path + " fails since " +
                                       timeAndAge(copy.failingSinceMs, nowMs) + ": " + copy.failure,
                                   "mend that; what is in memory is copied by itself then, and lost with the "
                                   "power before")};
    }
    if (isStuck) {
        return {Diagnosis::problem("queue",
                                   std::to_string(copy.pendingChanges) + " changes wait for their copy to " +
                                       copy.path + ", " + madeText(copy, nowMs),
                                   "end the program that is stopped while it holds " + copy.path +
                                       "-keeper; where none has the store open, start powerdistributiond")};
    }
    return {Diagnosis::ok("queue", "copied to " + copy.path + " " + ageText(copy.lastMs, nowMs) +
                                       ", measured values every " + std::to_string(copy.valuesEverySec) +
                                       " s")};
}

} // namespace

Diagnoses diagnoseClock(const ClockFacts& facts) {
    Diagnoses found;
    if (facts.nowMs < EARLIEST_MS) {
        found.push_back(
            Diagnosis::problem("clock", "it is " + utcText(facts.nowMs) + ", before 2024", SET_CLOCK));
    }
    if (facts.newestStampMs > facts.nowMs + TOLERANCE_MS) {
        found.push_back(Diagnosis::problem("clock",
                                           "the store has stamps of the future: the clock has gone back by " +
                                               seconds(facts.newestStampMs - facts.nowMs) + " or more",
                                           SET_CLOCK));
    }
    const std::int64_t jump = facts.daemonStartedMs - facts.daemonSaidMs;
    if (facts.daemonStartedMs != 0 && jump > TOLERANCE_MS) {
        found.push_back(Diagnosis::note("clock", "it was put forward by " + seconds(jump) +
                                                     " since the daemon began: older stamps are too old"));
    }
    if (facts.isSynchronised && !*facts.isSynchronised) {
        found.push_back(Diagnosis::note("clock", "nothing keeps it right", "timedatectl set-ntp true"));
    }
    if (found.empty()) {
        found.push_back(Diagnosis::ok("clock", utcText(facts.nowMs)));
    }
    return found;
}

std::optional<bool> isClockSynchronised() {
    timex state{};
    const int result = adjtimex(&state);
    if (result < 0) {
        return std::nullopt;
    }
    return result != TIME_ERROR && (state.status & STA_UNSYNC) == 0;
}

std::int64_t startOfProcessMs(const std::string& mark, std::int64_t nowMs) {
    const auto at = mark.find("start=");
    timespec sinceBoot{};
    if (at == std::string::npos || clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) {
        return 0;
    }
    const std::int64_t ticks = std::atoll(mark.c_str() + at + 6);
    const std::int64_t startedMs = ticks * 1000 / sysconf(_SC_CLK_TCK);
    return ticks <= 0 ? 0 : nowMs - (sinceBoot.tv_sec * 1000 + sinceBoot.tv_nsec / 1'000'000 - startedMs);
}

double secondsSinceMade(const std::string& path, std::int64_t nowMs) {
    std::ifstream file{"/proc/uptime"};
    double uptime = 0.0;
    file >> uptime;
    struct statx status {};
    const bool isKnown =
        statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status) == 0 && (status.stx_mask & STATX_BTIME) != 0;
    const double age =
        isKnown ? static_cast<double>(nowMs) / 1000.0 - static_cast<double>(status.stx_btime.tv_sec) : uptime;
    return age < 0.0 ? uptime : std::min(age, uptime);
}

std::optional<DiskFacts> diskOf(const std::string& what, const std::string& path) {
    struct statvfs status {};
    if (statvfs(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const auto block = static_cast<double>(status.f_frsize);
    return DiskFacts{what,
                     path,
                     static_cast<double>(status.f_blocks) * block,
                     static_cast<double>(status.f_bavail) * block,
                     static_cast<double>(status.f_files),
                     static_cast<double>(status.f_favail)};
}

Diagnosis diagnoseDisk(const DiskFacts& disk) {
    const double share = disk.bytes > 0.0 ? disk.freeBytes / disk.bytes : 0.0;
    const std::string detail = disk.what + ": " + sizeText(disk.freeBytes) + " of " + sizeText(disk.bytes) +
                               " free (" + percent(share) + ") at " + disk.path;
    if (disk.freeBytes < LEAST_FREE_BYTES || share < LEAST_FREE_SHARE) {
        return Diagnosis::problem("disk", detail,
                                  "make space there; a store that is full takes nothing more");
    }
    if (disk.files > 0.0 && disk.freeFiles / disk.files < LEAST_FREE_SHARE) {
        return Diagnosis::problem("disk",
                                  disk.what + ": " + percent(disk.freeFiles / disk.files) +
                                      " of the inodes free at " + disk.path,
                                  "remove files that nobody needs there");
    }
    return share < LITTLE_FREE_SHARE ? Diagnosis::note("disk", detail) : Diagnosis::ok("disk", detail);
}

Diagnosis diagnoseWear(const tessapi::StoreHealth& health, double countedSeconds) {
    if (!health.copy) {
        return health.file ? Diagnosis::note("wear",
                                             "every change is written to " + health.file->path +
                                                 " as it comes, which is not counted",
                                             "on flash, let the store be worked on in memory: "
                                             "TESS_URL=sqlite:PATH?working=/run/velk")
                           : Diagnosis::ok("wear", "the store writes to no disk of this machine");
    }
    const auto written = static_cast<double>(health.copy->bytesWritten);
    const double perHour = written / (std::max(countedSeconds, SHORTEST_COUNT_SECONDS) / 3600.0);
    const std::string detail =
        sizeText(written) + " written in " + spanText(countedSeconds) +
        (countedSeconds < SHORTEST_COUNT_SECONDS ? "" : ", " + sizeText(perHour) + " an hour");
    const std::string advice = "have measured values copied less often: keep=SECONDS of TESS_URL";
    if (perHour > WEARING_OUT_PER_HOUR) {
        return Diagnosis::problem("wear", detail, advice);
    }
    return perHour > WEARING_PER_HOUR ? Diagnosis::note("wear", detail, advice)
                                      : Diagnosis::ok("wear", detail);
}

SettledHealth settledHealth(const std::function<tessapi::StoreHealth()>& look, velk::common::Clock& clock) {
    const auto isWaiting = [](const tessapi::StoreHealth& health) {
        return health.copy && health.copy->failure.empty() && health.copy->pendingChanges > 0;
    };
    SettledHealth settled{look(), false};
    if (!isWaiting(settled.health)) {
        return settled;
    }
    const std::uint64_t copies = settled.health.copy->copies;
    const auto end = clock.now() + LONGEST_PENDING;
    do {
        clock.sleepFor(LOOK_AGAIN);
        settled.health = look();
        settled.isCopyStuck = isWaiting(settled.health) && settled.health.copy->copies == copies;
    } while (settled.isCopyStuck && clock.now() < end);
    return settled;
}

Diagnoses diagnoseQueues(const SettledHealth& settled, std::int64_t nowMs) {
    const tessapi::StoreHealth& health = settled.health;
    Diagnoses found = health.copy ? diagnoseCopy(*health.copy, settled.isCopyStuck, nowMs) : Diagnoses{};
    if (health.file && health.file->logBytes > LONG_LOG_BYTES) {
        found.push_back(Diagnosis::problem(
            "queue",
            "the write-ahead log of " + sizeText(static_cast<double>(health.file->logBytes)) +
                " is not taken into the file: some program holds an old state of the store",
            "see who uses the store, and end the one that hangs"));
    } else if (found.empty() && health.engine != "redis") {
        found.push_back(Diagnosis::ok("queue", "nothing waits"));
    }
    return found;
}

} // namespace velk::cli
