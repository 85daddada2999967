#pragma once

#include "platform/tessapi/engine/FileSeat.h"

#include <cstdint>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace tessapi {

/// One connection to a database. A failure throws boost::system::system_error that names the store.
/// Threads: one at a time; its owner guards it.
class Database {
public:
    /// How long a statement waits for a lock that a program holds which does not go through this library.
    static constexpr int BUSY_TIMEOUT_MS = 3000;

    /// What is known of others that have the file open at the same time.
    enum class Sharing {
        withOthers,
        alone,  ///< they wait until this connection is gone; its log needs no index in a file
        ignored ///< reads the file without its log, however it is just now, and waits for nobody
    };

    /// `path` is a file, made when it is missing, or ":memory:". `store` names the store in messages.
    Database(const std::string& path, std::string store, Sharing sharing = Sharing::withOthers);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Runs statements that give no rows, or whose rows nobody wants.
    void execute(const char* sql);

    /// `begin` with `toWrite` takes the database's own lock for writers at once.
    void begin(bool toWrite);
    void commit();
    /// Ends a transaction that was not committed. Nothing happens when there is none.
    void rollBack();
    /// Rises with every commit of any program that this connection has seen, its own ones included.
    std::uint32_t version() const;

    std::int64_t lastInsertedId() const;
    /// Rows that the last statement inserted, changed or removed.
    int changes() const;

    /// Of the file; a database in memory is as good as the only one of its device.
    FileSeat::Identity identity() const;

    /// Throws `StoreFault::disappeared` when the path no longer leads to the file that is open.
    void checkStillThere();

    /// Frames in the log after the last commit of this connection.
    int logFrames() const { return frames; }

    /// Copies the log into the file and syncs both; gives the frames in the log, which the next writer starts
    /// anew unless somebody reads from it. The caller holds the lock between the processes.
    int checkpoint();

    /// The same, and empties the log; false when that cannot be because somebody reads from it.
    bool startLogAnew();

    /// Syncs the log, so that a power cut loses nothing that was committed before the call.
    void syncLog();

    /// The first bytes of the file as they are on disk, at most `size`; empty for a file without content.
    std::string headOfFile(std::size_t size) const;
    /// The same of a file that need not be a database, and that others may have open alone.
    static std::string headOfFile(const std::string& path, const std::string& store, std::size_t size);

    [[noreturn]] void fail(int resultCode) const;

    const std::string& storeName() const { return store; }
    sqlite3* handle() const { return connection.get(); }

private:
    struct Closer {
        void operator()(sqlite3* handle) const;
    };

    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const;
    };
    using Prepared = std::unique_ptr<sqlite3_stmt, Finalizer>;

    void connect(const std::string& path, int flags);
    void tellLocks(int operation);
    /// What a transaction that was rolled back has not written yet is not written.
    void forgetLog();
    void configure(Sharing sharing);
    /// Runs a statement without rows that is compiled at its first use.
    void run(Prepared& statement, const char* sql);

    std::string store;
    bool inMemory;
    int frames{0};
    std::unique_ptr<sqlite3, Closer> connection;
    FileSeat seat;
    Prepared beginning;
    Prepared beginningToWrite;
    Prepared committing;
    Prepared rollingBack;
};

} // namespace tessapi
