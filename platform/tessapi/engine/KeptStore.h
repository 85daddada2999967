#pragma once

#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/FileLock.h"
#include "platform/tessapi/engine/StoreUrl.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tessapi {

/// The database on disk to which a store is copied that programs work on in memory. It says of itself what it
/// is and where that memory is, so that no program takes it for a store to work on and two programs never
/// work in two places.
///
/// The object has it open alone: other programs wait until it is gone.
/// Threads: one at a time.
class KeptStore {
public:
    static constexpr std::chrono::seconds USUAL_INTERVAL{60};

    struct Record {
        std::string working;      ///< folder, absolute
        std::int64_t identity{0}; ///< another one after each change of the folder
        std::int64_t copies{0};   ///< commits of copied changes since then
        std::chrono::seconds valuesEvery{USUAL_INTERVAL};
    };

    struct Settled {
        std::optional<Record> record; ///< without one programs work on the file itself
        bool alone{false};            ///< no other program has the store open
    };

    /// Decides what programs work on when they open `path` by `url`, and makes it so: makes, converts or
    /// moves the store if `create` says so and nobody else works on it (`StoreFault::inUse`). `use` is shared
    /// by every program that has the store open; after this the caller has it alone if nobody else has the
    /// store open, else shares it.
    static Settled settle(const std::string& path, const StoreUrl& url, bool create, FileLock& use,
                          std::chrono::milliseconds longestWait);

    KeptStore(const std::string& path, const std::string& store,
              Database::Sharing sharing = Database::Sharing::alone);

    Record record();
    /// Whether programs that look at the file without its log find the same place in it.
    static bool isToldByTheFile(const Record& record, const std::string& path, const std::string& store);
    /// Puts all of it into the tables of a working database, as one transaction.
    void fill(const std::string& working, std::int64_t monotonicMs);

    /// Brings the log into the file, which then says by itself what is in it.
    void copyLog();

    Database& connection() { return database; }

private:
    /// Undoes what a killed program has begun and finishes what it has not finished, if `alone`.
    static std::optional<Record> read(const std::string& path, const std::string& store, bool alone);
    static void setInterval(const std::string& path, const std::string& store, Record& record,
                            std::chrono::seconds interval);
    /// Has the store at `path` worked on in `folder`. The caller is the only one that has it open.
    static void put(const std::string& path, const std::string& store, const std::string& folder,
                    std::chrono::milliseconds longestWait);
    /// With all that is left in memory of one that was there before.
    static void make(const std::string& path, const std::string& store, const std::string& folder,
                     std::chrono::milliseconds longestWait);
    static void convert(const std::string& path, const std::string& store, const std::string& folder);
    static void move(const std::string& path, const std::string& store, const std::string& folder,
                     std::chrono::milliseconds longestWait);

    Database database;
};

} // namespace tessapi
