#include "platform/tessapi/engine/WriterLocks.h"

namespace tessapi {

namespace {

/// The places of the locks, by the database's description of its index.
constexpr int OF_WRITERS = 0;
constexpr int FIRST_MARK = 3;

constexpr int TAKE_WRITERS = SQLITE_SHM_LOCK | SQLITE_SHM_EXCLUSIVE;
constexpr int GIVE_WRITERS = SQLITE_SHM_UNLOCK | SQLITE_SHM_EXCLUSIVE;

} // namespace

void WriterLocks::show(File& file) {
    file.locks = new WriterLocks{file.below};
    file.shown.pMethods = &methods();
}

const sqlite3_io_methods& WriterLocks::methods() {
    using Methods = sqlite3_io_methods;
    static const Methods own = [] {
        Methods made = methodsOfBelow(2); // with locks in shared memory, not mapped itself
        made.xClose = close;
        made.xFileControl = control;
        made.xShmMap = map;
        made.xShmLock = lock;
        made.xShmBarrier = PassOn<&Methods::xShmBarrier>::call;
        made.xShmUnmap = unmap;
        return made;
    }();
    return own;
}

int WriterLocks::close(sqlite3_file* file) {
    of(file).release();
    delete &of(file);
    return PassOn<&sqlite3_io_methods::xClose>::call(file);
}

int WriterLocks::control(sqlite3_file* file, int operation, void* argument) {
    if (operation == HOLD) {
        of(file).hold();
        return SQLITE_OK;
    }
    if (operation == RELEASE) {
        of(file).release();
        return SQLITE_OK;
    }
    return PassOn<&sqlite3_io_methods::xFileControl>::call(file, operation, argument);
}

int WriterLocks::map(sqlite3_file* file, int region, int size, int extend, void volatile** address) {
    const int result = PassOn<&sqlite3_io_methods::xShmMap>::call(file, region, size, extend, address);
    of(file).mapped = of(file).mapped || result == SQLITE_OK;
    return result;
}

int WriterLocks::unmap(sqlite3_file* file, int remove) {
    of(file).release();
    of(file).mapped = false;
    return PassOn<&sqlite3_io_methods::xShmUnmap>::call(file, remove);
}

int WriterLocks::lock(sqlite3_file* file, int first, int count, int flags) {
    auto& own = of(file);
    return own.held ? own.lockHeld(first, count, flags) : own.lockBelow(first, count, flags);
}

int WriterLocks::lockBelow(int first, int count, int flags) {
    return below->pMethods->xShmLock(below, first, count, flags);
}

void WriterLocks::hold() {
    // While another program writes that does not go through this library, the database waits as it always
    // does.
    held = held || (mapped && lockBelow(OF_WRITERS, 1, TAKE_WRITERS) == SQLITE_OK);
    asAlways = false;
}

void WriterLocks::release() {
    if (held) {
        held = false;
        spared = 0;
        lockBelow(OF_WRITERS, 1, GIVE_WRITERS);
    }
}

int WriterLocks::lockHeld(int first, int count, int flags) {
    if (first == OF_WRITERS && count == 1) {
        return SQLITE_OK; // until `release`
    }
    if (first >= FIRST_MARK && count == 1) {
        return lockMark(1U << static_cast<unsigned int>(first), first, flags);
    }
    asAlways = true;
    return lockBelow(first, count, flags);
}

int WriterLocks::lockMark(unsigned int mark, int first, int flags) {
    if ((flags & SQLITE_SHM_LOCK) != 0 && (flags & SQLITE_SHM_SHARED) != 0) {
        spared |= mark;
        return SQLITE_OK;
    }
    if ((flags & SQLITE_SHM_SHARED) != 0 && (spared & mark) != 0) {
        spared &= ~mark;
        return SQLITE_OK;
    }
    // To be moved a mark is locked alone. It need not be: a mark that is behind serves as well. Only when
    // there is none at all the database comes to the first one again.
    const bool isMoving = flags == (SQLITE_SHM_LOCK | SQLITE_SHM_EXCLUSIVE);
    if (isMoving && !asAlways) {
        asAlways = first == SQLITE_SHM_NLOCK - 1;
        return SQLITE_BUSY;
    }
    return lockBelow(first, 1, flags);
}

} // namespace tessapi
