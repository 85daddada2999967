#include "platform/tessapi/engine/KeptStore.h"

#include "platform/common/BootId.h"
#include "platform/common/Clock.h"
#include "platform/tessapi/engine/CopyRun.h"
#include "platform/tessapi/engine/KeptSchema.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/StoreFile.h"
#include "platform/tessapi/engine/Transaction.h"
#include "platform/tessapi/engine/WorkingFile.h"

#include <filesystem>
#include <iostream>
#include <random>
#include <sqlite3.h>

namespace tessapi {

namespace {

namespace fs = std::filesystem;

/// Into the tables of a working database, which has nothing but its root device and the marks of that.
constexpr const char* FILL = R"sql(
PRAGMA defer_foreign_keys=ON;
INSERT INTO working.device(id, uuid, parent) SELECT id, uuid, parent FROM main.device WHERE parent IS NOT NULL;
INSERT INTO working.attribute(device, number, text) SELECT device, number, text FROM main.attribute;
INSERT INTO working.channel(id, device, name, type, triggers, value, written_ms, changed_ms)
    SELECT c.id, c.device, c.name, c.type, c.triggers, v.value, coalesce(v.written_ms, 0),
           coalesce(v.written_ms - v.unchanged_ms, 0)
    FROM main.channel c LEFT JOIN main.kept_value v ON v.channel = c.id;
INSERT INTO working.state SELECT * FROM main.state;
INSERT INTO working.alarm SELECT * FROM main.alarm;
INSERT INTO working.alarm_event SELECT * FROM main.alarm_event;
INSERT INTO working.write_record SELECT * FROM main.write_record;
UPDATE working.sqlite_sequence SET seq = s.seq FROM main.sqlite_sequence s
    WHERE s.name = sqlite_sequence.name;
DELETE FROM working.mark;
INSERT INTO working.keeping(identity, copies, event, record, values_at)
    SELECT identity, copies, coalesce((SELECT max(number) FROM main.alarm_event), 0),
           coalesce((SELECT max(number) FROM main.write_record), 0), 0 FROM main.kept;
)sql";

/// What makes a store that programs work on one that is only copied to.
constexpr const char* CONVERT = R"sql(
INSERT INTO kept_value SELECT id, value, written_ms, written_ms - changed_ms FROM channel WHERE value IS NOT NULL;
UPDATE channel SET value = NULL, written_ms = 0, changed_ms = 0, seq = 0;
UPDATE device SET attribute_seq = 0, alarm_seq = 0;
DELETE FROM change;
)sql";

/// What a disk writes at a time.
constexpr const char* PAGE_SIZE = "PRAGMA page_size=4096";

std::int64_t randomIdentity() {
    std::random_device source;
    const auto high = std::uint64_t{source()} << 31U;
    return static_cast<std::int64_t>(high ^ source());
}

std::string folderOf(const StoreUrl& url) {
    if (url.workingFolder().empty()) {
        return "";
    }
    std::error_code error;
    // Links are followed: all names of one folder must be one.
    auto folder = fs::weakly_canonical(fs::absolute(url.workingFolder()), error);
    if (error) {
        throwSystemFailure(url.text(), error.value(), "cannot find " + url.workingFolder());
    }
    return folder.has_filename() ? folder.string() : folder.parent_path().string();
}

/// Fails when another program has the file open, also one that knows nothing of locks beside the file.
void leaveLog(Database& database) {
    try {
        database.execute("PRAGMA journal_mode=DELETE");
    } catch (const boost::system::system_error& failure) {
        if (failure.code().category() == sqliteCategory() && (failure.code().value() & 0xff) == SQLITE_BUSY) {
            throwStoreFault(database.storeName(), StoreFault::inUse, "cannot work in memory");
        }
        throw;
    }
}

/// Where a disk is away, no file must be made in the place where it is mounted.
const std::string& existing(const std::string& path, const std::string& store) {
    if (StoreFile::applicationId(path, store) != Schema::KEPT_ID) {
        throwStoreFault(store, StoreFault::disappeared, path);
    }
    return path;
}

/// Within a transaction.
void becomeCopy(Database& database, const std::string& folder, const WorkingFile::Origin& origin) {
    database.execute(KeptSchema::COPY_TABLES);
    database.execute(CONVERT);
    Statement{database, "INSERT INTO kept(working, identity, copies, values_every_sec) VALUES(?, ?, ?, ?)"}
        .execute(folder, origin.identity, origin.copies, std::int64_t{KeptStore::USUAL_INTERVAL.count()});
}

} // namespace

KeptStore::Settled KeptStore::settle(const std::string& path, const StoreUrl& url, bool create, FileLock& use,
                                     std::chrono::milliseconds longestWait) {
    const auto folder = folderOf(url);
    while (true) {
        const bool alone = use.awaitAny(longestWait);
        auto found = read(path, url.text(), alone);
        if (!create || folder.empty() || (found && found->working == folder)) {
            if (found && url.valuesEvery()) {
                setInterval(path, url.text(), *found, *url.valuesEvery());
            }
            return {found, alone};
        }
        if (!alone && !use.tryAlone()) {
            throwStoreFault(url.text(), StoreFault::inUse,
                            "cannot work in " + folder + " instead of " + (found ? found->working : path));
        }
        put(path, url.text(), folder, longestWait);
    }
}

void KeptStore::put(const std::string& path, const std::string& store, const std::string& folder,
                    std::chrono::milliseconds longestWait) {
    WorkingFile::place(folder, path, store); // fails before anything is changed
    const auto id = StoreFile::applicationId(path, store);
    if (id == Schema::KEPT_ID) {
        move(path, store, folder, longestWait);
    } else if (id == 0) {
        make(path, store, folder, longestWait);
    } else {
        convert(path, store, folder);
    }
}

KeptStore::KeptStore(const std::string& path, const std::string& store, Database::Sharing sharing) :
    database{existing(path, store), store, sharing} {
    database.execute("PRAGMA main.synchronous=FULL");
}

std::optional<KeptStore::Record> KeptStore::read(const std::string& path, const std::string& store,
                                                 bool alone) {
    if (StoreFile::applicationId(path, store) != Schema::KEPT_ID) {
        return std::nullopt;
    }
    if (!alone) {
        // Where programs work stays as it is while some do. One that copies, and maybe hangs because the disk
        // does, holds up nobody.
        try {
            KeptStore kept{path, store, Database::Sharing::ignored};
            return kept.record();
        } catch (const boost::system::system_error&) {
            // Just when the log was copied into the file.
        }
    }
    KeptStore kept{path, store};
    // It was cut off while it was made or converted, which the first look undoes.
    if (Schema::isEmpty(kept.database) || StoreFile::applicationId(path, store) != Schema::KEPT_ID) {
        return std::nullopt;
    }
    Schema::verify(kept.database, Schema::KEPT_ID);
    auto record = kept.record();
    if (alone) {
        StoreFile::useLog(kept.database);
        if (!isToldByTheFile(record, path, store)) {
            kept.copyLog(); // the next program, which is not alone, would work in another place
        }
    }
    return record;
}

bool KeptStore::isToldByTheFile(const Record& record, const std::string& path, const std::string& store) {
    try {
        KeptStore file{path, store, Database::Sharing::ignored};
        const auto told = file.record();
        return told.working == record.working && told.identity == record.identity;
    } catch (const boost::system::system_error&) {
        return false;
    }
}

KeptStore::Record KeptStore::record() {
    Statement statement{database, "SELECT working, identity, copies, values_every_sec FROM main.kept"};
    auto run = statement.with();
    if (!run.next()) {
        throwStoreFault(database.storeName(), StoreFault::corrupt, "where programs work on it is not said");
    }
    return {run.text(0), run.integer(1), run.integer(2), std::chrono::seconds{run.integer(3)}};
}

void KeptStore::setInterval(const std::string& path, const std::string& store, Record& record,
                            std::chrono::seconds interval) {
    if (record.valuesEvery != interval) {
        record.valuesEvery = interval;
        KeptStore kept{path, store};
        Statement{kept.database, "UPDATE kept SET values_every_sec = ?"}.execute(
            std::int64_t{interval.count()});
        kept.copyLog();
    }
}

void KeptStore::make(const std::string& path, const std::string& store, const std::string& folder,
                     std::chrono::milliseconds longestWait) {
    Database database{path, store, Database::Sharing::alone};
    if (!Schema::isEmpty(database)) {
        throwStoreFault(store, StoreFault::foreign, "");
    }
    database.execute("PRAGMA synchronous=FULL");
    database.execute(PAGE_SIZE);
    const auto file = WorkingFile::pathIn(folder, path);
    const auto left = WorkingFile::adopt(file, store, longestWait);
    const auto origin = left.value_or(WorkingFile::Origin{randomIdentity(), 0});
    Schema::create(database, Schema::KEPT_ID, [&] { becomeCopy(database, folder, origin); });
    StoreFile::useLog(database);
    if (left) {
        std::cerr << "WARNING - store " + store + ": " + path + " was gone and is made anew from " + file +
                         ", which programs work on; who wants an empty store removes both\n"
                  << std::flush;
    }
}

void KeptStore::convert(const std::string& path, const std::string& store, const std::string& folder) {
    {
        Database database{path, store};
        StoreFile::prepare(database, false);
        leaveLog(database);
        database.execute("PRAGMA synchronous=FULL");
        database.execute(PAGE_SIZE);
        database.execute("VACUUM");
        Transaction transaction{database, Transaction::Kind::write};
        becomeCopy(database, folder, {randomIdentity(), 0});
        database.execute(("PRAGMA application_id=" + std::to_string(Schema::KEPT_ID)).c_str());
        transaction.commit();
    }
    KeptStore kept{path, store};
    StoreFile::useLog(kept.database);
}

void KeptStore::move(const std::string& path, const std::string& store, const std::string& folder,
                     std::chrono::milliseconds longestWait) {
    FileLock keeper{path + "-keeper", store};
    keeper.awaitAlone(longestWait);
    const auto before = KeptStore{path, store}.record();
    const auto file = WorkingFile::pathIn(before.working, path);
    if (WorkingFile::belongsTo(file, store, before)) {
        // What programs that were killed have left.
        SharedPage page{file + "-lock", store};
        InterprocessLock writers{page, store, longestWait};
        {
            InterprocessHold hold{writers};
            Database working{file, store};
            WorkingFile::renewIndex(working);
        }
        CopyRun{path, file, store, writers}.copy(true, velk::common::Clock::system().now());
    }
    KeptStore kept{path, store};
    Statement{kept.database, "UPDATE kept SET working = ?, identity = ?, copies = 0"}.execute(
        folder, randomIdentity());
    kept.copyLog();
    WorkingFile::remove(file);
}

void KeptStore::copyLog() {
    database.execute("PRAGMA main.wal_checkpoint(TRUNCATE)");
}

void KeptStore::fill(const std::string& working, std::int64_t monotonicMs) {
    Statement{database, "ATTACH ? AS working"}.execute(working);
    Transaction transaction{database, Transaction::Kind::read};
    database.execute(FILL);
    Statement{database, "UPDATE working.keeping SET values_at = ?, boot = ?"}.execute(
        monotonicMs, velk::common::presentBoot());
    transaction.commit();
}

} // namespace tessapi
