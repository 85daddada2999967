#include "platform/tessapi/engine/SharedPage.h"

#include "platform/common/BootId.h"
#include "platform/common/GroupFile.h"
#include "platform/tessapi/engine/CoarseClock.h"
#include "platform/tessapi/engine/StoreError.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

/// That the file was moved is noticed within this time.
constexpr std::int64_t LOOK_EVERY_MS = 100;

/// Differs between builds that lay the words out differently: by their size, or else by the first number,
/// which goes up by hand.
const std::string MAGIC = "tess-2-" + std::to_string(sizeof(SharedPage::Words));
static_assert(sizeof(SharedPage::Words) < 100'000'000, "the name has to fit");

/// Greater than any that an earlier page of this boot has come to.
std::uint64_t firstGeneration() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::nanoseconds{now}.count()) * 2;
}

void initialise(SharedPage::Words& words, const std::string& boot) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    std::memset(static_cast<void*>(&words), 0, sizeof words);
    pthread_mutex_init(&words.turn, &attributes);
    pthread_mutex_init(&words.lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
    new (&words.commits) std::atomic<std::uint32_t>{0};
    new (&words.waiting) std::atomic<std::uint32_t>{0};
    new (&words.breaks) std::atomic<std::uint32_t>{0};
    new (&words.generation) std::atomic<std::uint64_t>{firstGeneration()};
    new (&words.news) NewsRing::Words{};
    boot.copy(words.bootId, sizeof words.bootId - 1);
    // Last: a program that was killed before this line leaves a page that the next one makes anew.
    std::atomic_thread_fence(std::memory_order_release);
    MAGIC.copy(words.magic, sizeof words.magic - 1);
}

bool usable(const SharedPage::Words& words, const std::string& boot) {
    return std::string(words.magic, strnlen(words.magic, sizeof words.magic)) == MAGIC &&
           std::string(words.bootId, strnlen(words.bootId, sizeof words.bootId)) == boot;
}

/// The byte of the file that a process keeps locked, shared with itself, to be recognised. Such a lock
/// belongs to the descriptor: it goes when the process ends and when this object closes the file, and not
/// before.
struct flock markOf(pid_t process, short kind) {
    constexpr off_t MARKS = off_t{1} << 30;
    struct flock mark {};
    mark.l_type = kind;
    mark.l_whence = SEEK_SET;
    mark.l_start = MARKS + process;
    mark.l_len = 1;
    return mark;
}

bool isDeleted(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && status.st_nlink == 0;
}

/// Whether the path leads to that file; so too when nobody can tell.
bool leadsTo(const std::string& path, const struct stat& file) {
    struct stat present {};
    if (::stat(path.c_str(), &present) != 0) {
        return errno != ENOENT;
    }
    return present.st_dev == file.st_dev && present.st_ino == file.st_ino;
}

/// Releases the `flock` at the end of a scope: the file stays open.
class FileHold {
public:
    explicit FileHold(int opened) : file{opened} {}
    ~FileHold() { ::flock(file, LOCK_UN); }
    FileHold(const FileHold&) = delete;
    FileHold& operator=(const FileHold&) = delete;

private:
    const int file;
};

} // namespace

SharedPage::SharedPage() : store{"memory"} {
    auto made = std::make_unique<Opened>();
    made->words = map(-1);
    initialise(*made->words, "");
    shared = made->words;
    MutexLock lock{mutex};
    opened.push_back(std::move(made));
}

SharedPage::SharedPage(const std::string& file, const std::string& storeName) : path{file}, store{storeName} {
    MutexLock lock{mutex};
    open();
}

SharedPage::Opened::~Opened() {
    if (words != nullptr) {
        ::munmap(words, sizeof(Words));
    }
    if (file >= 0) {
        ::close(file);
    }
}

bool SharedPage::follow() {
    if (path.empty()) {
        return false;
    }
    MutexLock lock{mutex};
    if (isInPlace()) {
        return false;
    }
    open();
    // What was committed under the page that is left is news to those who have this one.
    words().generation.fetch_add(2);
    return true;
}

bool SharedPage::isInPlace() {
    // A name less is told by the file itself, ten times faster than by its path.
    struct stat status {};
    if (::fstat(current, &status) != 0) {
        return true;
    }
    const auto now = coarseNowMs();
    if (status.st_nlink == 0 || now - followedMs < LOOK_EVERY_MS) {
        return status.st_nlink != 0;
    }
    followedMs = now;
    return leadsTo(path, status);
}

bool SharedPage::isOpenIn(pid_t process) {
    auto mark = markOf(process, F_WRLCK);
    return process > 0 && ::fcntl(current, F_OFD_GETLK, &mark) == 0 && mark.l_type != F_UNLCK;
}

int SharedPage::openLocked() const {
    while (true) {
        const int file = velk::common::GroupFile::open(path, O_RDWR);
        if (file < 0) {
            throwSystemFailure(store, errno, "cannot open " + path);
        }
        if (::flock(file, LOCK_EX) == 0 && !isDeleted(file)) {
            return file;
        }
        const int error = isDeleted(file) ? 0 : errno;
        ::close(file);
        if (error != 0 && error != EINTR) {
            throwSystemFailure(store, error, "cannot lock " + path);
        }
    }
}

void SharedPage::open() {
    auto made = std::make_unique<Opened>();
    const int file = made->file = openLocked();
    const FileHold hold{file};
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        throwSystemFailure(store, errno, "cannot read " + path);
    }
    const auto size = static_cast<off_t>(sizeof(Words));
    if (status.st_size < size) {
        if (const int error = ::posix_fallocate(file, 0, size); error != 0) {
            throwSystemFailure(store, error, "cannot write " + path);
        }
    }
    const auto boot = velk::common::presentBoot();
    if (boot.empty()) {
        // Without it a lock that a boot has left behind could not be told from one that is held.
        throwSystemFailure(store, ENOENT, "cannot read /proc/sys/kernel/random/boot_id");
    }
    made->words = map(file);
    if (!usable(*made->words, boot)) {
        initialise(*made->words, boot);
    }
    auto mark = markOf(::getpid(), F_RDLCK);
    ::fcntl(file, F_OFD_SETLK, &mark); // without it a read of this process is not broken, no more
    shared = made->words;
    current = file;
    opened.push_back(std::move(made));
}

SharedPage::Words* SharedPage::map(int file) const {
    const int flags = MAP_SHARED | (file < 0 ? MAP_ANONYMOUS : 0);
    void* address = ::mmap(nullptr, sizeof(Words), PROT_READ | PROT_WRITE, flags, file, 0);
    if (address == MAP_FAILED) {
        throwSystemFailure(store, errno, "cannot map the lock");
    }
    return static_cast<Words*>(address);
}

} // namespace tessapi
