#include "platform/tessapi/engine/SharedPage.h"

#include "platform/common/GroupFile.h"
#include "platform/tessapi/engine/StoreError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <new>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessapi {

namespace {

/// Differs between builds that lay the words out differently.
const std::string MAGIC = "tess-lock-" + std::to_string(sizeof(SharedPage::Words));

std::string presentBoot() {
    std::ifstream file{"/proc/sys/kernel/random/boot_id"};
    std::string id;
    std::getline(file, id);
    return id;
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
    new (&words.news) std::atomic<std::uint32_t>{0};
    new (&words.waiting) std::atomic<std::uint32_t>{0};
    boot.copy(words.bootId, sizeof words.bootId - 1);
    // Last: a program that was killed before this line leaves a page that the next one makes anew.
    std::atomic_thread_fence(std::memory_order_release);
    MAGIC.copy(words.magic, sizeof words.magic - 1);
}

bool usable(const SharedPage::Words& words, const std::string& boot) {
    return std::string(words.magic, strnlen(words.magic, sizeof words.magic)) == MAGIC &&
           std::string(words.bootId, strnlen(words.bootId, sizeof words.bootId)) == boot;
}

/// Releases the `flock` and closes the descriptor at the end of a scope. The mapping keeps the file open, so
/// the close alone would not release it.
class Descriptor {
public:
    explicit Descriptor(int opened) : number{opened} {}
    ~Descriptor() {
        if (number >= 0) {
            ::flock(number, LOCK_UN);
            ::close(number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    const int number;
};

} // namespace

SharedPage::SharedPage() {
    map(-1, "memory");
    initialise(*shared, "");
}

SharedPage::SharedPage(const std::string& path, const std::string& store) {
    const Descriptor file{velk::common::GroupFile::open(path, O_RDWR)};
    if (file.number < 0) {
        throwSystemFailure(store, errno, "cannot open " + path);
    }
    if (::flock(file.number, LOCK_EX) != 0) {
        throwSystemFailure(store, errno, "cannot lock " + path);
    }
    struct stat status {};
    if (::fstat(file.number, &status) != 0) {
        throwSystemFailure(store, errno, "cannot read " + path);
    }
    const auto size = static_cast<off_t>(sizeof(Words));
    if (status.st_size < size) {
        if (const int error = ::posix_fallocate(file.number, 0, size); error != 0) {
            throwSystemFailure(store, error, "cannot write " + path);
        }
    }
    map(file.number, store);
    const auto boot = presentBoot();
    if (boot.empty()) {
        // Without it a lock that a boot has left behind could not be told from one that is held.
        throwSystemFailure(store, ENOENT, "cannot read /proc/sys/kernel/random/boot_id");
    }
    if (!usable(*shared, boot)) {
        initialise(*shared, boot);
    }
}

SharedPage::~SharedPage() {
    ::munmap(shared, sizeof(Words));
}

void SharedPage::map(int file, const std::string& store) {
    const int flags = MAP_SHARED | (file < 0 ? MAP_ANONYMOUS : 0);
    void* address = ::mmap(nullptr, sizeof(Words), PROT_READ | PROT_WRITE, flags, file, 0);
    if (address == MAP_FAILED) {
        throwSystemFailure(store, errno, "cannot map the lock");
    }
    shared = static_cast<Words*>(address);
}

} // namespace tessapi
