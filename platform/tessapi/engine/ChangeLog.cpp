#include "platform/tessapi/engine/ChangeLog.h"

#include "platform/tessapi/engine/NewsRing.h"

namespace tessapi {

namespace {

constexpr std::size_t MOST_FRESH = NewsRing::SLOTS;

} // namespace

ChangeLog::ChangeLog(Database& owner, std::int64_t keep) :
    database{owner},
    // The newest entry always stays, so the numbers rise without a counter of their own.
    insert{owner, "INSERT INTO change(kind, object, value, time_ms) VALUES(?, ?, ?, ?)"},
    ring{owner, "DELETE FROM change WHERE seq <= ?", keep},
    newest{owner, "SELECT max(seq) FROM change"},
    batch{owner, "SELECT seq, kind, object, value, time_ms FROM change WHERE seq > ? ORDER BY seq LIMIT ?"},
    // The level of the most critical alarm is left out here: who needs it asks for the present one.
    summary{owner, "SELECT seq, 0, id, value, written_ms FROM channel WHERE seq > ?1"
                   " UNION ALL SELECT attribute_seq, 1, id, NULL, 0 FROM device WHERE attribute_seq > ?1"
                   " UNION ALL SELECT alarm_seq, 2, id, NULL, 0 FROM device WHERE alarm_seq > ?1"
                   " ORDER BY 1"} {}

std::int64_t ChangeLog::append(Change::Kind kind, std::uint64_t object, const qz::CValue& value,
                               std::int64_t timeMs) {
    insert.execute(static_cast<std::uint32_t>(kind), object, value, timeMs);
    const auto seq = database.lastInsertedId();
    ring.prune(seq);
    if (appended.size() == MOST_FRESH) {
        appended.clear();
    }
    appended.push_back({seq, kind, object, value, timeMs});
    return seq;
}

std::int64_t ChangeLog::head() {
    auto run = newest.with();
    return run.next() ? run.integer(0) : 0;
}

std::vector<Change> ChangeLog::after(std::int64_t seq, std::int64_t limit) {
    auto run = batch.with(seq, limit);
    return collect(run);
}

Engine::News ChangeLog::newsAfter(std::int64_t seq, std::int64_t limit) {
    Engine::News news{after(seq, limit), seq, false, false};
    if (news.changes.empty()) {
        return news;
    }
    if (news.changes.front().seq != seq + 1) {
        return {summaryAfter(seq), head(), true, false};
    }
    news.upTo = news.changes.back().seq;
    news.more = news.changes.size() == static_cast<std::size_t>(limit);
    return news;
}

std::vector<Change> ChangeLog::summaryAfter(std::int64_t seq) {
    auto run = summary.with(seq);
    return collect(run);
}

std::vector<Change> ChangeLog::collect(Statement::Run& run) {
    std::vector<Change> changes;
    while (run.next()) {
        changes.push_back({run.integer(0), static_cast<Change::Kind>(run.integer(1)), run.id(2), run.value(3),
                           run.integer(4)});
    }
    return changes;
}

} // namespace tessapi
