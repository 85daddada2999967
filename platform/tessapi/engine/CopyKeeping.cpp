#include "platform/tessapi/engine/CopyKeeping.h"

#include "platform/common/WallTime.h"
#include "platform/tessapi/engine/BreakableReads.h"
#include "platform/tessapi/engine/CopyRun.h"
#include "platform/tessapi/engine/KeptSchema.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/Warning.h"

#include <boost/system/system_error.hpp>

#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tessapi {

namespace {

using std::chrono::milliseconds;

/// Another program copies at this moment, maybe not yet what came last.
constexpr milliseconds TRY_AGAIN{250};
/// A copy takes some milliseconds; one that takes so long hangs, with its program or with the disk.
constexpr std::chrono::seconds LONGEST_COPY{10};

constexpr const char* LOCK = "-keeper"; // beside the copy

constexpr const char* PENDING =
    "SELECT EXISTS(SELECT 1 FROM mark)"
    " OR event < coalesce((SELECT max(number) FROM alarm_event), 0)"
    " OR record < coalesce((SELECT max(number) FROM write_record), 0)"
    " OR EXISTS(SELECT 1 FROM channel INDEXED BY channel_soon WHERE " VELK_SOON_KEPT_NAMES
    " AND seq > setting_seq),"
    " value_seq < coalesce((SELECT max(seq) FROM change), 0), values_at, runs FROM keeping";

} // namespace

CopyKeeping::CopyKeeping(Place where, const std::string& name, InterprocessLock& lock, FileLock& programs,
                         velk::common::Clock& time) :
    place{std::move(where)},
    store{name},
    writers{lock},
    use{programs},
    clock{time},
    keeper{place.kept + LOCK, store},
    database{place.working, store},
    log{database, lock, place.framesToCopy},
    whatIsPending{database, PENDING} {}

CopyKeeping::Duration CopyKeeping::keep(const Round& round) {
    if (isGone()) {
        return place.valuesEvery; // every call of the store says so
    }
    if (round.copyLog) {
        InterprocessHold hold{writers};
        log.copy();
    }
    const auto now = pending();
    const auto due = untilValuesAreDue(now.valuesCopied);
    const bool end = round.last && isAlone();
    const bool values = now.values && (due <= Duration::zero() || end);
    if (!values && !now.changes && !(end && hasLog())) {
        endRefusal();
        return due <= Duration::zero() ? place.valuesEvery : due;
    }
    if (!takeTurn(round.last, now.copies)) {
        return TRY_AGAIN;
    }
    copy(values, end);
    endRefusal();
    return values ? Duration{place.valuesEvery} : due;
}

std::string CopyKeeping::leftBehind() const {
    return "what is not in " + place.kept + " yet is in " + place.working +
           ", and a restart of the machine costs it; see to the disk, and run \"tess status\": each program "
           "that "
           "opens the store copies it";
}

bool CopyKeeping::isGone() {
    try {
        database.checkStillThere();
        return false;
    } catch (const boost::system::system_error&) {
        return true;
    }
}

bool CopyKeeping::isAlone() {
    return use.tryAlone();
}

bool CopyKeeping::hasLog() const {
    std::error_code error;
    const auto size = std::filesystem::file_size(place.kept + "-wal", error);
    return !error && size > 0;
}

CopyKeeping::Pending CopyKeeping::pending() {
    return BreakableReads{writers}.run([this]() -> Pending {
        auto run = whatIsPending.with();
        if (!run.next()) {
            return {};
        }
        return {run.integer(0) != 0, run.integer(1) != 0, milliseconds{run.integer(2)}, run.integer(3)};
    });
}

CopyKeeping::Duration CopyKeeping::untilValuesAreDue(Duration copied) const {
    const auto now = clock.now();
    // A time to come is of another clock.
    return copied > now ? Duration::zero() : copied + place.valuesEvery - now;
}

bool CopyKeeping::takeTurn(bool last, std::int64_t copies) {
    if (keeper.tryAlone(last ? place.longestWait : milliseconds{0})) {
        return true;
    }
    if (refusal && refusal->copies != copies) {
        endRefusal();
    }
    if (!refusal) {
        refusal = {clock.now(), copies};
    }
    if (last || clock.now() - refusal->since >= LONGEST_COPY) {
        complain();
    }
    return false;
}

void CopyKeeping::complain() {
    refusal->told = true;
    const auto process = keeper.holder();
    const auto who = process == 0 ? "another program" : "process " + std::to_string(process);
    try {
        throwStoreFault(store, StoreFault::locked,
                        who + " copies and hangs; let it go on, end it, or see to the disk: " + place.kept +
                            LOCK);
    } catch (const std::exception& failure) {
        noteFailure(failure.what(), refusal->copies);
        throw;
    }
}

void CopyKeeping::endRefusal() {
    if (refusal && refusal->told) {
        warn(store, "is copied to " + place.kept + " again");
    }
    refusal.reset();
}

void CopyKeeping::copy(bool values, bool end) {
    try {
        CopyRun run{place.kept, place.working, store, writers};
        run.copy(values, clock.now());
        if (end) {
            run.copyLog(); // whoever takes the file away then has all of it
        }
        keeper.release();
    } catch (const std::exception& failure) {
        keeper.release();
        noteFailure(failure.what());
        throw;
    }
}

void CopyKeeping::noteFailure(const std::string& text, std::int64_t copies) {
    try {
        InterprocessHold hold{writers};
        Statement{database, "UPDATE keeping SET failure = ?1, failing_since_ms ="
                            " CASE failing_since_ms WHEN 0 THEN ?2 ELSE failing_since_ms END"
                            " WHERE failure <> ?1 AND ?3 IN (?4, runs)"}
            .execute(text, velk::common::wallMs(), copies, ANY);
    } catch (const std::exception&) {
        // What failed first is told.
    }
}

} // namespace tessapi
