#include "platform/tessapi/engine/FileSeat.h"

#include "platform/tessapi/engine/CoarseClock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessapi {

namespace {

/// That the file or a folder above it was moved is noticed within this time.
constexpr std::int64_t LONGEST_TRUST_MS = 100;

} // namespace

// With O_PATH, because closing any other descriptor of the file would release the database's locks on it.
FileSeat::FileSeat(const std::string& path) :
    none{path.empty()}, file{none ? -1 : ::open(path.c_str(), O_PATH | O_CLOEXEC)} {}

FileSeat::~FileSeat() {
    if (file >= 0) {
        ::close(file);
    }
}

FileSeat& FileSeat::operator=(FileSeat&& other) noexcept {
    std::swap(none, other.none);
    std::swap(file, other.file);
    trusted = false;
    return *this;
}

FileSeat::Identity FileSeat::identity() const {
    struct stat status {};
    if (none || ::fstat(file, &status) != 0) {
        return {};
    }
    return {status.st_dev, status.st_ino};
}

bool FileSeat::isUntouched() {
    if (none) {
        return true;
    }
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        return false;
    }
    const auto now = coarseNowMs();
    if (trusted && status.st_nlink == names && now - lookedMs < LONGEST_TRUST_MS) {
        return true;
    }
    names = status.st_nlink;
    lookedMs = now;
    trusted = true;
    return false;
}

} // namespace tessapi
