#include "platform/tessapi/engine/CopyKeeping.h"

#include "platform/common/WallTime.h"
#include "platform/tessapi/engine/BreakableReads.h"
#include "platform/tessapi/engine/CopyRun.h"
#include "platform/tessapi/engine/KeptSchema.h"

#include <boost/system/system_error.hpp>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tessapi {

namespace {

using std::chrono::milliseconds;

/// Another program copies at this moment, maybe not yet what came last.
constexpr milliseconds TRY_AGAIN{250};
/// How long a program that ends waits for such a one.
constexpr milliseconds LONGEST_WAIT_AT_THE_END{3000};

constexpr const char* PENDING =
    "SELECT EXISTS(SELECT 1 FROM mark)"
    " OR event < coalesce((SELECT max(number) FROM alarm_event), 0)"
    " OR record < coalesce((SELECT max(number) FROM write_record), 0)"
    " OR EXISTS(SELECT 1 FROM channel INDEXED BY channel_soon WHERE " VELK_SOON_KEPT_NAMES
    " AND seq > setting_seq),"
    " value_seq < coalesce((SELECT max(seq) FROM change), 0), values_at FROM keeping";

} // namespace

CopyKeeping::CopyKeeping(Place where, const std::string& name, InterprocessLock& lock, FileLock& programs,
                         velk::common::Clock& time) :
    place{std::move(where)},
    store{name},
    writers{lock},
    use{programs},
    clock{time},
    keeper{place.kept + "-keeper", store},
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
        return due <= Duration::zero() ? place.valuesEvery : due;
    }
    if (round.last) {
        keeper.awaitAlone(LONGEST_WAIT_AT_THE_END);
    } else if (!keeper.tryAlone()) {
        return TRY_AGAIN;
    }
    copy(values, end);
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
        return {run.integer(0) != 0, run.integer(1) != 0, milliseconds{run.integer(2)}};
    });
}

CopyKeeping::Duration CopyKeeping::untilValuesAreDue(Duration copied) const {
    const auto now = clock.now();
    // A time to come is of another clock.
    return copied > now ? Duration::zero() : copied + place.valuesEvery - now;
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

void CopyKeeping::noteFailure(const std::string& text) {
    try {
        InterprocessHold hold{writers};
        Statement{database, "UPDATE keeping SET failure = ?1, failing_since_ms ="
                            " CASE failing_since_ms WHEN 0 THEN ?2 ELSE failing_since_ms END"
                            " WHERE failure <> ?1"}
            .execute(text, velk::common::wallMs());
    } catch (const std::exception&) {
        // What failed first is told.
    }
}

} // namespace tessapi
