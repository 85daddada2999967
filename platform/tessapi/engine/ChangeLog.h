#pragma once

#include "platform/tessapi/engine/Change.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/Ring.h"
#include "platform/tessapi/engine/Statement.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace tessapi {

/// What has changed in the store, in the order of the writes, written in the same transaction as the change
/// itself. It keeps the newest entries only.
/// Threads: those of its database.
class ChangeLog {
public:
    /// `keep` is the number of entries that are there at least; older ones go from time to time.
    ChangeLog(Database& database, std::int64_t keep);

    /// Gives the entry's number. `timeMs` is the time of the write.
    std::int64_t append(Change::Kind kind, std::uint64_t object, const qz::CValue& value,
                        std::int64_t timeMs);

    /// What was appended since `forgetFresh`, without a gap up to the newest; a limited number of the newest.
    std::vector<Change> takeFresh() { return std::exchange(appended, {}); }
    void forgetFresh() { appended.clear(); }

    /// The number of the newest entry, 0 when there was none ever.
    std::int64_t head();

    /// At most `limit` entries after the one numbered `seq`, in order. The first one has a number greater
    /// than `seq` + 1 when entries between them are gone.
    std::vector<Change> after(std::int64_t seq, std::int64_t limit);

    /// The entries after the one numbered `seq`, at most `limit` at a time.
    Engine::News newsAfter(std::int64_t seq, std::int64_t limit);

    /// What has changed since the entry numbered `seq`, from the tables instead of the log: each channel's
    /// and device's last change only, in their order.
    std::vector<Change> summaryAfter(std::int64_t seq);

private:
    static std::vector<Change> collect(Statement::Run& run);

    Database& database;
    Statement insert;
    Ring ring;
    Statement newest;
    Statement batch;
    Statement summary;
    std::vector<Change> appended;
};

} // namespace tessapi
