#pragma once

#include "platform/common/Clock.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/KeptStore.h"
#include "platform/tessapi/engine/Transaction.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tessapi {

/// One copy of what has changed in a working database to the kept one. It takes what it copies at one moment,
/// commits it in one transaction that is synced, and then notes in the working database what needs no copy
/// any more: a copy that is killed before that is made again.
///
/// While it waits for the disk it holds up nobody who works on the store.
/// Threads: one at a time.
class CopyRun {
public:
    /// The caller holds the keeper's lock as long as the object is there.
    CopyRun(const std::string& keptFile, const std::string& workingFile, const std::string& store,
            InterprocessLock& lock);

    /// `values`: measured values too. `now` is the time of the clock that nobody sets.
    void copy(bool values, velk::common::Clock::Duration now);

    /// Brings the log of the kept copy into its file.
    void copyLog();

private:
    void checkBelongTogether();
    /// Of one moment, which is over with what it gives.
    std::unique_ptr<Transaction> collect(bool values);
    bool isNothingCollected();
    void apply();
    void note(bool values, velk::common::Clock::Duration now, std::uint64_t bytes);

    InterprocessLock& writers;
    KeptStore kept;
    Database& database;
    std::int64_t copies{0};
};

} // namespace tessapi
