#include "platform/tessapi/engine/SharedPage.h"

#include "platform/common/BootId.h"
#include "platform/common/Clock.h"
#include "platform/common/GroupFile.h"
#include "platform/tessapi/engine/CoarseClock.h"
#include "platform/tessapi/engine/StoreError.h"

#include <cerrno>
#include <cstddef>
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

using std::chrono::milliseconds;
using velk::common::MutexLock;

constexpr milliseconds BETWEEN_TRIES{5};

/// That the file was moved is noticed within this time.
constexpr std::int64_t LOOK_EVERY_MS = 100;

using Words = SharedPage::Words;

/// Differs between programs that lay the first part out differently or mean something else by it. The number
/// goes up by hand: then programs of two releases refuse to work together, so it should not.
const std::string MAGIC = "tess-3-" + std::to_string(offsetof(Words, newsLayout));
static_assert(sizeof(pthread_mutex_t) != 40 || offsetof(Words, newsLayout) == 240,
              "no other release knows it");

/// Likewise for the news, without which programs can work: by the size, or else by the first number.
constexpr std::uint64_t NEWS_LAYOUT = std::uint64_t{1} << 32U | sizeof(NewsRing::Words);

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
    for (auto& turn : words.turns) {
        pthread_mutex_init(&turn, &attributes);
    }
    pthread_mutex_init(&words.lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
    new (&words.commits) std::atomic<std::uint32_t>{0};
    new (&words.waiting) std::atomic<std::uint32_t>{0};
    new (&words.breaks) std::atomic<std::uint32_t>{0};
    new (&words.generation) std::atomic<std::uint64_t>{firstGeneration()};
    words.newsLayout = NEWS_LAYOUT;
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
constexpr off_t MARKS = off_t{1} << 30;

struct flock markOf(pid_t process, short kind) {
    struct flock mark {};
    mark.l_type = kind;
    mark.l_whence = SEEK_SET;
    mark.l_start = MARKS + process;
    mark.l_len = 1;
    return mark;
}

/// A process that has the file open by another descriptor than this; 0 for none.
pid_t userOf(int file) {
    auto marks = markOf(0, F_WRLCK);
    marks.l_len = 0; // all of them
    const bool isUsed = ::fcntl(file, F_OFD_GETLK, &marks) == 0 && marks.l_type != F_UNLCK;
    return isUsed ? static_cast<pid_t>(marks.l_start - MARKS) : 0;
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

SharedPage::SharedPage() : store{"memory"}, patience{} {
    auto made = std::make_unique<Opened>();
    made->words = map(-1);
    initialise(*made->words, "");
    shared = made->words;
    MutexLock lock{mutex};
    opened.push_back(std::move(made));
}

SharedPage::SharedPage(const std::string& file, const std::string& storeName, milliseconds longestWait) :
    path{file}, store{storeName}, patience{longestWait} {
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
    auto& clock = velk::common::Clock::system();
    const auto end = clock.now() + patience;
    while (true) {
        const int file = velk::common::GroupFile::open(path, O_RDWR);
        if (file < 0) {
            throwSystemFailure(store, errno, "cannot open " + path);
        }
        const int error = ::flock(file, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
        if (error == 0 && !isDeleted(file)) {
            return file;
        }
        ::close(file);
        if (error != 0 && error != EINTR && error != EWOULDBLOCK) {
            throwSystemFailure(store, error, "cannot lock " + path);
        }
        if (clock.now() >= end) {
            throwStoreFault(store, StoreFault::locked, path); // one that was stopped in it
        }
        clock.sleepFor(BETWEEN_TRIES);
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
    makeUsable(*made, boot);
    auto mark = markOf(::getpid(), F_RDLCK);
    ::fcntl(file, F_OFD_SETLK, &mark); // without it a read of this process is not broken, no more
    shared = made->words;
    current = file;
    opened.push_back(std::move(made));
}

void SharedPage::makeUsable(const Opened& page, const std::string& boot) const {
    auto& words = *page.words;
    const bool isKnown = usable(words, boot);
    if (isKnown && words.newsLayout == NEWS_LAYOUT) {
        return;
    }
    const auto user = userOf(page.file);
    if (user == 0) {
        initialise(words, boot);
    } else if (!isKnown) {
        throwStoreFault(store, StoreFault::otherRelease, "process " + std::to_string(user));
    }
}

NewsRing::Words* SharedPage::news() const {
    auto& present = words();
    return present.newsLayout == NEWS_LAYOUT ? &present.news : nullptr;
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
