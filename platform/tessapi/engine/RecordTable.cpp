#include "platform/tessapi/engine/RecordTable.h"

#include <algorithm>

namespace tessapi {

RecordTable::RecordTable(Database& owner, std::int64_t keep) :
    database{owner},
    ring{owner, "DELETE FROM write_record WHERE number <= ?", keep},
    insert{owner, "INSERT INTO write_record(number, time_ms, program, user, path, asked, result)"
                  " VALUES(nullif(?, 0), ?, ?, ?, ?, ?, ?)"},
    newest{owner, "SELECT number, time_ms, program, user, path, asked, result FROM write_record"
                  " WHERE time_ms >= ? ORDER BY number DESC LIMIT ?"} {}

void RecordTable::append(const WriteRecord& record) {
    insert.execute(record.number, record.timeMs, record.program, record.user, record.path, record.asked,
                   record.result);
    ring.prune(database.lastInsertedId());
}

std::vector<WriteRecord> RecordTable::since(std::int64_t sinceMs, std::size_t limit) {
    std::vector<WriteRecord> records;
    auto run = newest.with(sinceMs, Statement::limit(limit));
    while (run.next()) {
        records.push_back({run.integer(0), run.integer(1), run.text(2), run.text(3), run.text(4), run.text(5),
                           run.text(6)});
    }
    std::reverse(records.begin(), records.end());
    return records;
}

} // namespace tessapi
