#include "platform/tessapi/engine/LogBound.h"

#include "platform/tessapi/engine/HeldLocks.h"

#include <algorithm>
#include <cstdint>
#include <sqlite3.h>
#include <unistd.h>

namespace tessapi {

namespace {

/// Of the database's locks in shared memory: the first one of readers, and where they are in the file.
constexpr int FIRST_READER = 3;
constexpr std::uint64_t FIRST_READER_BYTE = 120 + FIRST_READER;
constexpr std::uint64_t LAST_READER_BYTE = 120 + SQLITE_SHM_NLOCK - 1;

/// While it lives, its connection gets the locks of readers whether others hold them or not.
class ForcedLocks {
public:
    explicit ForcedLocks(Database& database) {
        sqlite3_file_control(database.handle(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
        own = *file->pMethods;
        own.xShmLock = lock;
        usual = file->pMethods;
        file->pMethods = &own;
        taken = 0;
    }
    ~ForcedLocks() { file->pMethods = usual; }
    ForcedLocks(const ForcedLocks&) = delete;
    ForcedLocks& operator=(const ForcedLocks&) = delete;

private:
    static int lock(sqlite3_file* of, int first, int count, int flags) {
        const unsigned int which = ((1U << static_cast<unsigned int>(count)) - 1)
                                   << static_cast<unsigned int>(first);
        if ((flags & SQLITE_SHM_UNLOCK) != 0 && (taken & which) != 0) {
            taken &= ~which;
            return SQLITE_OK;
        }
        const int result = usual->xShmLock(of, first, count, flags);
        if (result == SQLITE_BUSY && first >= FIRST_READER && (flags & SQLITE_SHM_EXCLUSIVE) != 0) {
            taken |= which;
            return SQLITE_OK;
        }
        return result;
    }

    // The function gets no other argument that would lead to them.
    static thread_local const sqlite3_io_methods* usual;
    static thread_local unsigned int taken; ///< locks that others hold

    sqlite3_file* file{nullptr};
    sqlite3_io_methods own{};
};

thread_local const sqlite3_io_methods* ForcedLocks::usual = nullptr;
thread_local unsigned int ForcedLocks::taken = 0;

/// The processes that hold a lock of a reader, this one left out.
std::vector<pid_t> readersOf(const std::string& sharedMemory) {
    std::vector<pid_t> readers;
    for (const auto& lock : heldLocks(sharedMemory)) {
        if (lock.kind == "POSIX" && lock.first <= LAST_READER_BYTE && lock.last >= FIRST_READER_BYTE &&
            lock.process != ::getpid()) {
            readers.push_back(lock.process);
        }
    }
    return readers;
}

/// Odd while reads are being broken.
class BreakNote {
public:
    explicit BreakNote(std::atomic<std::uint32_t>& counter) : breaks{counter} { breaks |= 1U; }
    ~BreakNote() { ++breaks; }
    BreakNote(const BreakNote&) = delete;
    BreakNote& operator=(const BreakNote&) = delete;

private:
    std::atomic<std::uint32_t>& breaks;
};

} // namespace

LogBound::LogBound(Database& of, InterprocessLock& lock, int framesToCopy) :
    database{of}, writers{lock}, frames{TIMES * framesToCopy} {}

void LogBound::copy() {
    if (database.checkpoint() < frames || database.startLogAnew() || !mayBreakReads()) {
        return;
    }
    const BreakNote note{writers.words().breaks};
    const ForcedLocks forced{database};
    database.startLogAnew();
}

bool LogBound::mayBreakReads() const {
    const std::string file{sqlite3_db_filename(database.handle(), "main")};
    const auto readers = readersOf(file + "-shm");
    return !readers.empty() && std::all_of(readers.begin(), readers.end(),
                                           [this](pid_t reader) { return writers.isUsedBy(reader); });
}

} // namespace tessapi
