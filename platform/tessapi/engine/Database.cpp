#include "platform/tessapi/engine/Database.h"

#include "platform/common/GroupFile.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/DiskLayer.h"
#include "platform/tessapi/engine/GatheredLog.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/WriterLocks.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <sqlite3.h>
#include <utility>

namespace tessapi {

namespace {

sqlite3_file* fileOf(sqlite3* connection, int opcode) {
    sqlite3_file* file = nullptr;
    sqlite3_file_control(connection, "main", opcode, &file);
    return file != nullptr && file->pMethods != nullptr ? file : nullptr;
}

std::string readHead(sqlite3* connection, const std::string& store, std::size_t size) {
    sqlite3_file* file = fileOf(connection, SQLITE_FCNTL_FILE_POINTER);
    sqlite3_int64 length = 0;
    if (file == nullptr || file->pMethods->xFileSize(file, &length) != SQLITE_OK) {
        return "";
    }
    std::string head(std::min(size, static_cast<std::size_t>(length)), '\0');
    const int result = file->pMethods->xRead(file, head.data(), static_cast<int>(head.size()), 0);
    if (result != SQLITE_OK) {
        throwSqliteFailure(store, result, "cannot read");
    }
    return head;
}

/// What goes wrong here goes wrong again, and is told, when the file is opened.
void makeForGroup(const std::string& path) {
    // One at a time: closing the new file would free the locks of another connection that has it already.
    static velk::common::Mutex making;
    const velk::common::MutexLock lock{making};
    if (path != ":memory:") {
        velk::common::GroupFile::make(path);
    }
}

std::string uriOf(const std::string& path) {
    std::string uri{"file:"};
    for (const char letter : path) {
        if (letter == '?' || letter == '#' || letter == '%') {
            uri += '%';
            uri += "0123456789ABCDEF"[letter / 16];
            uri += "0123456789ABCDEF"[letter % 16];
        } else {
            uri += letter;
        }
    }
    return uri;
}

int noteFrames(void* frames, sqlite3*, const char*, int count) {
    *static_cast<int*>(frames) = count;
    return SQLITE_OK;
}

} // namespace

void Database::Closer::operator()(sqlite3* handle) const {
    sqlite3_close_v2(handle);
}

void Database::Finalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Database::Database(const std::string& path, std::string storeName, Sharing sharing) :
    store{std::move(storeName)}, inMemory{path == ":memory:"} {
    if (sharing == Sharing::ignored) {
        connect(uriOf(path) + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    } else {
        makeForGroup(path);
        connect(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    }
    configure(sharing);
    seat = FileSeat{inMemory ? std::string{} : path};
}

void Database::connect(const std::string& path, int flags) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(
        path.c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, DiskLayer::name());
    connection.reset(opened);
    if (result != SQLITE_OK) {
        throwSqliteFailure(store, result, "cannot open");
    }
}

void Database::configure(Sharing sharing) {
    sqlite3_busy_timeout(handle(), BUSY_TIMEOUT_MS);
    if (sharing == Sharing::alone) {
        execute("PRAGMA main.locking_mode=EXCLUSIVE"); // before anything that reads the file
    }
    // Checkpoints run under the lock between the processes only: several versions of the database corrupt the
    // file when one runs beside a writer that starts the log anew.
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    execute("PRAGMA wal_autocheckpoint=0; PRAGMA mmap_size=0; PRAGMA synchronous=NORMAL;"
            "PRAGMA foreign_keys=ON; PRAGMA secure_delete=OFF; PRAGMA temp_store=MEMORY;"
            "PRAGMA page_size=1024;"
            // Before its end a transaction writes nothing: see `GatheredLog`.
            "PRAGMA cache_spill=OFF");
    sqlite3_wal_hook(handle(), noteFrames, &frames);
}

void Database::execute(const char* sql) {
    if (const int result = sqlite3_exec(handle(), sql, nullptr, nullptr, nullptr); result != SQLITE_OK) {
        fail(result);
    }
}

std::int64_t Database::lastInsertedId() const {
    return sqlite3_last_insert_rowid(handle());
}

int Database::changes() const {
    return sqlite3_changes(handle());
}

void Database::run(Prepared& statement, const char* sql) {
    if (!statement) {
        sqlite3_stmt* prepared = nullptr;
        const int result =
            sqlite3_prepare_v3(handle(), sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
        if (result != SQLITE_OK) {
            fail(result);
        }
        statement.reset(prepared);
    }
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_DONE) {
        const std::string message = sqlite3_errmsg(handle());
        sqlite3_reset(statement.get());
        throwSqliteFailure(store, result, message);
    }
    sqlite3_reset(statement.get());
}

void Database::begin(bool toWrite) {
    if (!toWrite) {
        run(beginning, "BEGIN");
        return;
    }
    tellLocks(WriterLocks::HOLD);
    try {
        run(beginningToWrite, "BEGIN IMMEDIATE");
    } catch (...) {
        tellLocks(WriterLocks::RELEASE);
        throw;
    }
}

void Database::commit() {
    run(committing, "COMMIT");
    tellLocks(WriterLocks::RELEASE);
}

void Database::rollBack() {
    // Some failures have rolled it back already; then there is nothing left to do.
    if (sqlite3_get_autocommit(handle()) == 0) {
        try {
            run(rollingBack, "ROLLBACK"); // every read ends so
        } catch (const boost::system::system_error&) {
            // It is rolled back at the latest when the connection is closed.
        }
    }
    forgetLog();
    tellLocks(WriterLocks::RELEASE);
}

void Database::forgetLog() {
    sqlite3_file* log = nullptr;
    sqlite3_file_control(handle(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    if (log != nullptr && log->pMethods != nullptr) {
        log->pMethods->xFileControl(log, GatheredLog::FORGET, nullptr); // others refuse it
    }
}

void Database::tellLocks(int operation) {
    // In memory there are none.
    sqlite3_file_control(handle(), "main", operation, nullptr);
}

std::uint32_t Database::version() const {
    unsigned int version = 0;
    sqlite3_file_control(handle(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
    return version;
}

FileSeat::Identity Database::identity() const {
    return inMemory ? FileSeat::Identity{0, 1} : seat.identity();
}

void Database::checkStillThere() {
    if (seat.isUntouched()) {
        return;
    }
    int moved = 0;
    sqlite3_file_control(handle(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    if (moved != 0) {
        seat.doubt();
        throwStoreFault(store, StoreFault::disappeared, "");
    }
}

int Database::checkpoint() {
    int inLog = 0;
    const int result =
        sqlite3_wal_checkpoint_v2(handle(), "main", SQLITE_CHECKPOINT_PASSIVE, &inLog, nullptr);
    if (result != SQLITE_OK && result != SQLITE_BUSY) {
        fail(result);
    }
    return std::max(inLog, 0);
}

bool Database::startLogAnew() {
    sqlite3_busy_timeout(handle(), 0);
    const int result =
        sqlite3_wal_checkpoint_v2(handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    sqlite3_busy_timeout(handle(), BUSY_TIMEOUT_MS);
    if (result != SQLITE_OK && result != SQLITE_BUSY) {
        fail(result);
    }
    return result == SQLITE_OK;
}

void Database::syncLog() {
    sqlite3_file* log = fileOf(handle(), SQLITE_FCNTL_JOURNAL_POINTER);
    if (log == nullptr) {
        return;
    }
    if (const int result = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL); result != SQLITE_OK) {
        throwSqliteFailure(store, result, "cannot sync the log");
    }
}

std::string Database::headOfFile(std::size_t size) const {
    return readHead(handle(), store, size);
}

std::string Database::headOfFile(const std::string& path, const std::string& store, std::size_t size) {
    // Through the database's library, which alone knows when it may close the file without giving up locks
    // that this process has on it. Nothing is asked of it that would read the file as a database.
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    const std::unique_ptr<sqlite3, Closer> closing{opened};
    if (result != SQLITE_OK) {
        throwSqliteFailure(store, result, "cannot open");
    }
    return readHead(opened, store, size);
}

void Database::fail(int resultCode) const {
    throwSqliteFailure(store, resultCode, sqlite3_errmsg(handle()));
}

} // namespace tessapi
