#include "platform/tessapi/engine/FileLock.h"

#include "platform/common/Clock.h"
#include "platform/common/GroupFile.h"
#include "platform/tessapi/engine/HeldLocks.h"
#include "platform/tessapi/engine/StoreError.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessapi {

namespace {

constexpr std::chrono::milliseconds BETWEEN_TRIES{5};

} // namespace

FileLock::FileLock(std::string file, std::string storeName) :
    path{std::move(file)},
    store{std::move(storeName)},
    descriptor{velk::common::GroupFile::open(path, O_RDWR)},
    owner{::getpid()} {
    if (descriptor < 0) {
        throwSystemFailure(store, errno, "cannot open " + path);
    }
}

FileLock::~FileLock() {
    if (owner == ::getpid()) {
        release(); // closing is not enough while a process that was forked off has it open
    }
    ::close(descriptor);
}

bool FileLock::tryShared() {
    return attempt(LOCK_SH);
}

bool FileLock::tryAlone(std::chrono::milliseconds longest) {
    return attempt(LOCK_EX, longest);
}

void FileLock::awaitShared(std::chrono::milliseconds longest) {
    await(LOCK_SH, longest);
}

void FileLock::awaitAlone(std::chrono::milliseconds longest) {
    await(LOCK_EX, longest);
}

void FileLock::release() {
    ::flock(descriptor, LOCK_UN);
}

bool FileLock::awaitAny(std::chrono::milliseconds longest) {
    if (tryAlone()) {
        return true;
    }
    awaitShared(longest);
    return false;
}

pid_t FileLock::holder() const {
    for (const auto& lock : heldLocks(path)) {
        if (lock.kind == "FLOCK") {
            return lock.process;
        }
    }
    return 0;
}

void FileLock::leaveSign() {
    if (!hasSign() && ::ftruncate(descriptor, 1) != 0) {
        throwSystemFailure(store, errno, "cannot write " + path);
    }
}

bool FileLock::hasSign() const {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && status.st_size > 0;
}

bool FileLock::attempt(int operation) {
    while (::flock(descriptor, operation | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            return false;
        }
        if (errno != EINTR) {
            throwSystemFailure(store, errno, "cannot lock " + path);
        }
    }
    return true;
}

bool FileLock::attempt(int operation, std::chrono::milliseconds longest) {
    auto& clock = velk::common::Clock::system();
    const auto end = clock.now() + longest;
    while (!attempt(operation)) {
        if (clock.now() >= end) {
            return false;
        }
        clock.sleepFor(BETWEEN_TRIES);
    }
    return true;
}

void FileLock::await(int operation, std::chrono::milliseconds longest) {
    if (!attempt(operation, longest)) {
        throwStoreFault(store, StoreFault::locked, path);
    }
}

} // namespace tessapi
