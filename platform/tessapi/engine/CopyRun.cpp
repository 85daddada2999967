#include "platform/tessapi/engine/CopyRun.h"

#include "platform/common/WallTime.h"
#include "platform/tessapi/engine/BreakableReads.h"
#include "platform/tessapi/engine/KeptSchema.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/Transaction.h"
#include "platform/tessapi/engine/WorkingFile.h"

#include <chrono>
#include <fstream>
#include <optional>
#include <unistd.h>

namespace tessapi {

namespace {

/// Of the kept copy's log, of one page each: then it is copied into the file.
constexpr int FRAMES_TO_COPY = 256;

/// What has changed, as it is at one moment, into the memory of this connection.
constexpr const char* COLLECT = R"sql(
CREATE TEMP TABLE upto AS SELECT
    coalesce((SELECT max(number) FROM working.mark), 0) AS mark,
    coalesce((SELECT max(seq) FROM working.change), 0) AS seq,
    coalesce((SELECT max(number) FROM working.alarm_event), 0) AS event,
    coalesce((SELECT min(number) FROM working.alarm_event), 0) AS first_event,
    coalesce((SELECT max(number) FROM working.write_record), 0) AS record,
    coalesce((SELECT min(number) FROM working.write_record), 0) AS first_record;
CREATE TEMP TABLE sequence AS SELECT name, seq FROM working.sqlite_sequence;
CREATE TEMP TABLE marked(kind INTEGER, object INTEGER, PRIMARY KEY(kind, object)) WITHOUT ROWID;
INSERT INTO temp.marked SELECT kind, object FROM working.mark;
CREATE TEMP TABLE new_device AS SELECT id, uuid, parent FROM working.device
    WHERE id IN (SELECT object FROM temp.marked WHERE kind = 0);
CREATE TEMP TABLE new_attribute AS SELECT device, number, text FROM working.attribute
    WHERE device IN (SELECT object FROM temp.marked WHERE kind = 1);
CREATE TEMP TABLE new_channel(id INTEGER PRIMARY KEY, device, name, type, triggers);
INSERT INTO temp.new_channel SELECT id, device, name, type, triggers FROM working.channel
    WHERE id IN (SELECT object FROM temp.marked WHERE kind = 2);
CREATE TEMP TABLE new_state AS SELECT channel, place, value, name FROM working.state
    WHERE channel IN (SELECT object FROM temp.marked WHERE kind = 3);
CREATE TEMP TABLE new_alarm AS SELECT * FROM working.alarm
    WHERE channel IN (SELECT object FROM temp.marked WHERE kind = 4);
CREATE TEMP TABLE new_event AS SELECT * FROM working.alarm_event
    WHERE number > (SELECT event FROM working.keeping);
CREATE TEMP TABLE new_record AS SELECT * FROM working.write_record
    WHERE number > (SELECT record FROM working.keeping);
CREATE TEMP TABLE new_value(id INTEGER PRIMARY KEY, value, written_ms, unchanged_ms);
INSERT INTO temp.new_value SELECT id, value, written_ms, written_ms - changed_ms FROM working.channel
    WHERE id IN (SELECT object FROM temp.marked WHERE kind IN (2, 4)); -- alarms agree with their values
)sql";

constexpr const char* COLLECT_SETTINGS =
    "INSERT OR IGNORE INTO temp.new_value SELECT id, value, written_ms, written_ms - changed_ms"
    " FROM working.channel INDEXED BY channel_soon WHERE " VELK_SOON_KEPT_NAMES
    " AND seq > (SELECT setting_seq FROM working.keeping)";

constexpr const char* COLLECT_VALUES =
    "INSERT OR IGNORE INTO temp.new_value SELECT id, value, written_ms, written_ms - changed_ms"
    " FROM working.channel WHERE seq > (SELECT value_seq FROM working.keeping)";

constexpr const char* COLLECTED = "SELECT 1 WHERE EXISTS(SELECT 1 FROM temp.marked)"
                                  " OR EXISTS(SELECT 1 FROM temp.new_value)"
                                  " OR EXISTS(SELECT 1 FROM temp.new_event)"
                                  " OR EXISTS(SELECT 1 FROM temp.new_record)";

/// Only what differs is written, for the sake of the pages. What is gone goes first: its Uuid or name may
/// have come again under another identifier.
constexpr const char* APPLY = R"sql(
PRAGMA defer_foreign_keys=ON;
DELETE FROM main.device WHERE id IN (SELECT object FROM temp.marked WHERE kind = 0)
    AND NOT EXISTS(SELECT 1 FROM temp.new_device n WHERE n.id = device.id AND n.uuid = device.uuid);
DELETE FROM main.channel WHERE id IN (SELECT object FROM temp.marked WHERE kind = 2)
    AND id NOT IN (SELECT id FROM temp.new_channel);
INSERT INTO main.device(id, uuid, parent) SELECT id, uuid, parent FROM temp.new_device WHERE true
    ON CONFLICT(id) DO UPDATE SET parent = excluded.parent WHERE parent IS NOT excluded.parent;
DELETE FROM main.attribute WHERE device IN (SELECT object FROM temp.marked WHERE kind = 1)
    AND (device, number) NOT IN (SELECT device, number FROM temp.new_attribute);
INSERT INTO main.attribute(device, number, text) SELECT device, number, text FROM temp.new_attribute WHERE true
    ON CONFLICT(device, number) DO UPDATE SET text = excluded.text WHERE text <> excluded.text;
INSERT INTO main.channel(id, device, name, type, triggers)
    SELECT id, device, name, type, triggers FROM temp.new_channel WHERE true
    ON CONFLICT(id) DO UPDATE SET type = excluded.type, triggers = excluded.triggers
    WHERE type <> excluded.type OR triggers <> excluded.triggers;
DELETE FROM main.state WHERE channel IN (SELECT object FROM temp.marked WHERE kind = 3);
INSERT INTO main.state(channel, place, value, name) SELECT channel, place, value, name FROM temp.new_state;
DELETE FROM main.alarm WHERE channel IN (SELECT object FROM temp.marked WHERE kind = 4);
INSERT INTO main.alarm SELECT * FROM temp.new_alarm;
DELETE FROM main.kept_value WHERE channel IN (SELECT id FROM temp.new_value WHERE value IS NULL);
INSERT INTO main.kept_value(channel, value, written_ms, unchanged_ms)
    SELECT id, value, written_ms, unchanged_ms FROM temp.new_value WHERE value IS NOT NULL
    ON CONFLICT(channel) DO UPDATE SET value = excluded.value, written_ms = excluded.written_ms,
        unchanged_ms = excluded.unchanged_ms
    WHERE value <> excluded.value OR written_ms <> excluded.written_ms OR unchanged_ms <> excluded.unchanged_ms;
INSERT OR REPLACE INTO main.alarm_event SELECT * FROM temp.new_event;
DELETE FROM main.alarm_event WHERE number < (SELECT first_event FROM temp.upto);
INSERT OR REPLACE INTO main.write_record SELECT * FROM temp.new_record;
DELETE FROM main.write_record WHERE number < (SELECT first_record FROM temp.upto);
UPDATE main.sqlite_sequence SET seq = s.seq FROM temp.sequence s
    WHERE s.name = sqlite_sequence.name AND s.seq <> sqlite_sequence.seq;
UPDATE main.kept SET copies = copies + 1;
)sql";

/// Bytes that this thread has given to the system to be written, 0 where that is not known.
std::uint64_t bytesWritten() {
    std::ifstream file{"/proc/thread-self/io"};
    for (std::string name; file >> name;) {
        std::uint64_t count = 0;
        if (file >> count && name == "wchar:") {
            return count;
        }
    }
    return 0;
}

} // namespace

CopyRun::CopyRun(const std::string& keptFile, const std::string& workingFile, const std::string& store,
                 InterprocessLock& lock) :
    writers{lock}, kept{keptFile, store}, database{kept.connection()} {
    bool attached = false;
    BreakableReads{writers}.run([&] {
        if (attached) {
            database.execute("DETACH working"); // what was read of its tables may be none of them
        }
        Statement{database, "ATTACH ? AS working"}.execute(workingFile);
        attached = true;
        return attached;
    });
}

void CopyRun::copy(bool values, velk::common::Clock::Duration now) {
    checkBelongTogether();
    BreakableReads{writers}.run([&] { return collect(values); })->commit();
    std::uint64_t bytes = 0;
    if (!isNothingCollected()) {
        const auto before = bytesWritten();
        apply();
        if (database.logFrames() > FRAMES_TO_COPY) {
            copyLog();
        }
        bytes = bytesWritten() - before;
    }
    note(values, now, bytes);
}

void CopyRun::copyLog() {
    kept.copyLog();
}

void CopyRun::checkBelongTogether() {
    const auto record = kept.record();
    const auto known = BreakableReads{writers}.run([this]() -> std::optional<WorkingFile::Origin> {
        Statement statement{database, "SELECT identity, copies FROM working.keeping"};
        auto run = statement.with();
        return run.next() ? std::optional{WorkingFile::Origin{run.integer(0), run.integer(1)}} : std::nullopt;
    });
    if (!known || known->identity != record.identity ||
        (known->copies != record.copies && known->copies + 1 != record.copies)) {
        throwStoreFault(database.storeName(), StoreFault::disappeared, "cannot copy to the disk");
    }
    copies = record.copies;
    if (known->copies != copies) {
        // The last run was killed after its commit. It is noted before there is another one.
        InterprocessHold hold{writers};
        Statement{database, "UPDATE working.keeping SET copies = ?"}.execute(copies);
    }
}

std::unique_ptr<Transaction> CopyRun::collect(bool values) {
    auto moment = std::make_unique<Transaction>(database, Transaction::Kind::read);
    database.execute(COLLECT);
    database.execute(COLLECT_SETTINGS);
    if (values) {
        database.execute(COLLECT_VALUES);
    }
    return moment;
}

bool CopyRun::isNothingCollected() {
    Statement statement{database, COLLECTED};
    auto run = statement.with();
    return !run.next();
}

void CopyRun::apply() {
    // Of the kind for reading, because the other would take the lock of the working database too.
    Transaction transaction{database, Transaction::Kind::read};
    database.execute(APPLY);
    transaction.commit();
    ++copies;
}

void CopyRun::note(bool values, velk::common::Clock::Duration now, std::uint64_t bytes) {
    InterprocessHold hold{writers};
    Transaction transaction{database, Transaction::Kind::read};
    database.execute("DELETE FROM working.mark WHERE number <= (SELECT mark FROM temp.upto)");
    Statement{database, "UPDATE working.keeping SET copies = ?, setting_seq = u.seq, event = u.event,"
                        " record = u.record, last_ms = ?, last_by = ?, runs = runs + 1, bytes = bytes + ?,"
                        " failure = '', failing_since_ms = 0 FROM temp.upto u"}
        .execute(copies, velk::common::wallMs(), std::int64_t{::getpid()}, bytes);
    if (values) {
        const auto at = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
        Statement{database, "UPDATE working.keeping SET value_seq = u.seq, last_values_ms = ?, values_at = ?"
                            " FROM temp.upto u"}
            .execute(velk::common::wallMs(), std::int64_t{at});
    }
    transaction.commit();
}

} // namespace tessapi
