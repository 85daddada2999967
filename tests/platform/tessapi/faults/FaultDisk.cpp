#include "tests/platform/tessapi/faults/FaultDisk.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <mutex>
#include <sqlite3.h>
#include <utility>

namespace tessapi::faults {

namespace {

using Event = FaultDisk::Event;
using Failure = FaultDisk::Failure;

/// What a call asks of the disk.
enum class Asks { nothing, space, bytes };

std::int64_t nowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

struct FaultDisk::State {
    std::recursive_mutex mutex; // over the call itself, so that the record has the order of the disk
    bool recording{false};
    std::vector<Event> events;
    Failure failure{Failure::none};
    int left{0};
    bool forGood{false};
    std::string concerned; // what its name begins with
    bool failed{false};

    void note(Event event) {
        if (recording) {
            event.atMs = nowMs();
            events.push_back(std::move(event));
        }
    }

    bool concerns(Asks asks, const std::string& file) const {
        return file.starts_with(concerned) &&
               (failure == Failure::error || (failure == Failure::full && asks != Asks::nothing) ||
                (failure == Failure::shortWrite && asks == Asks::bytes));
    }

    /// The result code of a call that is to fail, 0 for one that is not.
    int fate(Asks asks, int errorCode, const std::string& file) {
        if (!concerns(asks, file) || (--left > 0) || (left < 0 && !forGood)) {
            return SQLITE_OK;
        }
        failed = true;
        return failure == Failure::error ? errorCode : SQLITE_FULL;
    }
};

namespace {

FaultDisk::State* state = nullptr;
sqlite3_vfs* machine = nullptr;
thread_local bool stopInRead = false;

struct File {
    sqlite3_file shown;
    sqlite3_file* real;
    std::string* name;
};
constexpr std::size_t OWN_SIZE = (sizeof(File) + 15) / 16 * 16;

File& of(sqlite3_file* file) {
    return *reinterpret_cast<File*>(file);
}

/// Without its folder; empty for a file that has none.
std::string nameOf(const char* path) {
    return path == nullptr ? "" : std::filesystem::path{path}.filename().string();
}

sqlite3_file* real(sqlite3_file* file) {
    return of(file).real;
}

using Lock = std::lock_guard<std::recursive_mutex>;

int close(sqlite3_file* file) {
    const int result = real(file)->pMethods->xClose(real(file));
    delete of(file).name;
    return result;
}

int read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
    if (std::exchange(stopInRead, false)) {
        ::raise(SIGSTOP);
    }
    const Lock lock{state->mutex};
    if (const int result = state->fate(Asks::nothing, SQLITE_IOERR_READ, *of(file).name);
        result != SQLITE_OK) {
        return result;
    }
    return real(file)->pMethods->xRead(real(file), bytes, size, offset);
}

int write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    const Lock lock{state->mutex};
    const int fate = state->fate(Asks::bytes, SQLITE_IOERR_WRITE, *of(file).name);
    if (fate != SQLITE_OK && state->failure == Failure::shortWrite) {
        size /= 2;
    } else if (fate != SQLITE_OK) {
        return fate;
    }
    const int result = real(file)->pMethods->xWrite(real(file), bytes, size, offset);
    if (result == SQLITE_OK) {
        state->note({Event::Kind::write, *of(file).name, offset,
                     std::string{static_cast<const char*>(bytes), static_cast<std::size_t>(size)}});
    }
    return fate != SQLITE_OK ? fate : result;
}

int truncate(sqlite3_file* file, sqlite3_int64 size) {
    const Lock lock{state->mutex};
    if (const int result = state->fate(Asks::nothing, SQLITE_IOERR_TRUNCATE, *of(file).name);
        result != SQLITE_OK) {
        return result;
    }
    state->note({Event::Kind::truncate, *of(file).name, size, ""});
    return real(file)->pMethods->xTruncate(real(file), size);
}

int sync(sqlite3_file* file, int flags) {
    const Lock lock{state->mutex};
    if (const int result = state->fate(Asks::nothing, SQLITE_IOERR_FSYNC, *of(file).name);
        result != SQLITE_OK) {
        return result;
    }
    state->note({Event::Kind::sync, *of(file).name, 0, ""});
    return real(file)->pMethods->xSync(real(file), flags);
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
    const Lock lock{state->mutex};
    if (const int result = state->fate(Asks::nothing, SQLITE_IOERR_FSTAT, *of(file).name);
        result != SQLITE_OK) {
        return result;
    }
    return real(file)->pMethods->xFileSize(real(file), size);
}

// Waiting for a lock while holding the mutex would keep its holder from going on.
int lockFile(sqlite3_file* file, int level) {
    return real(file)->pMethods->xLock(real(file), level);
}
int unlockFile(sqlite3_file* file, int level) {
    return real(file)->pMethods->xUnlock(real(file), level);
}
int checkReservedLock(sqlite3_file* file, int* held) {
    return real(file)->pMethods->xCheckReservedLock(real(file), held);
}
int fileControl(sqlite3_file* file, int operation, void* argument) {
    return real(file)->pMethods->xFileControl(real(file), operation, argument);
}
int sectorSize(sqlite3_file* file) {
    return real(file)->pMethods->xSectorSize(real(file));
}
int deviceCharacteristics(sqlite3_file* file) {
    return real(file)->pMethods->xDeviceCharacteristics(real(file));
}

int shmMap(sqlite3_file* file, int page, int size, int extend, void volatile** address) {
    const Lock lock{state->mutex};
    const auto asks = extend != 0 ? Asks::space : Asks::nothing;
    if (const int result = state->fate(asks, SQLITE_IOERR_SHMMAP, *of(file).name); result != SQLITE_OK) {
        return result;
    }
    return real(file)->pMethods->xShmMap(real(file), page, size, extend, address);
}
int shmLock(sqlite3_file* file, int offset, int count, int flags) {
    return real(file)->pMethods->xShmLock(real(file), offset, count, flags);
}
void shmBarrier(sqlite3_file* file) {
    real(file)->pMethods->xShmBarrier(real(file));
}
int shmUnmap(sqlite3_file* file, int remove) {
    return real(file)->pMethods->xShmUnmap(real(file), remove);
}

const sqlite3_io_methods METHODS{2,
                                 close,
                                 read,
                                 write,
                                 truncate,
                                 sync,
                                 fileSize,
                                 lockFile,
                                 unlockFile,
                                 checkReservedLock,
                                 fileControl,
                                 sectorSize,
                                 deviceCharacteristics,
                                 shmMap,
                                 shmLock,
                                 shmBarrier,
                                 shmUnmap,
                                 nullptr,
                                 nullptr};

int open(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
    const Lock lock{state->mutex};
    auto& own = of(file);
    own.shown.pMethods = nullptr;
    if (const int result = state->fate(Asks::nothing, SQLITE_CANTOPEN, nameOf(name)); result != SQLITE_OK) {
        return result;
    }
    own.real = reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + OWN_SIZE);
    const int result = machine->xOpen(machine, name, own.real, flags, outFlags);
    if (own.real->pMethods != nullptr) {
        own.name = new std::string{nameOf(name)};
        own.shown.pMethods = &METHODS;
    }
    return result;
}

int remove(sqlite3_vfs*, const char* name, int syncFolder) {
    const Lock lock{state->mutex};
    if (const int result = state->fate(Asks::nothing, SQLITE_IOERR_DELETE, nameOf(name));
        result != SQLITE_OK) {
        return result;
    }
    Event event{Event::Kind::remove, nameOf(name), 0, ""};
    event.durable = syncFolder != 0;
    state->note(std::move(event));
    return machine->xDelete(machine, name, syncFolder);
}

} // namespace

FaultDisk::FaultDisk() : state{std::make_unique<State>()} {
    faults::state = state.get();
    machine = sqlite3_vfs_find(nullptr);
    static sqlite3_vfs between = *machine; // stays registered to the end of the process
    between.szOsFile = machine->szOsFile + static_cast<int>(OWN_SIZE);
    between.zName = "faults";
    between.xOpen = open;
    between.xDelete = remove;
    sqlite3_vfs_register(&between, 1);
}

FaultDisk& FaultDisk::instance() {
    static auto* const disk = new FaultDisk; // threads of stores may outlive static objects
    return *disk;
}

void FaultDisk::record() {
    const Lock lock{state->mutex};
    state->events.clear();
    state->recording = true;
}

std::vector<Event> FaultDisk::recorded() {
    const Lock lock{state->mutex};
    state->recording = false;
    return std::exchange(state->events, {});
}

void FaultDisk::mark(std::int64_t number) {
    const Lock lock{state->mutex};
    state->note({Event::Kind::mark, "", number, ""});
}

void FaultDisk::failAt(int nth, Failure failure, bool forGood, const std::string& file) {
    const Lock lock{state->mutex};
    state->failure = failure;
    state->left = nth;
    state->forGood = forGood;
    state->concerned = file;
    state->failed = false;
}

void FaultDisk::heal() {
    const Lock lock{state->mutex};
    state->failure = Failure::none;
}

bool FaultDisk::hasFailed() const {
    const Lock lock{state->mutex};
    return state->failed;
}

void FaultDisk::stopInNextRead() {
    stopInRead = true;
}

} // namespace tessapi::faults
