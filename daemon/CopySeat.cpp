#include "daemon/CopySeat.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velk::daemon {

// With O_PATH, because closing any other descriptor of the file would release the database's locks on it.
CopySeat::CopySeat(std::string whereItIs) :
    path{std::move(whereItIs)}, file{::open(path.c_str(), O_PATH | O_CLOEXEC)} {}

CopySeat::~CopySeat() {
    if (file >= 0) {
        ::close(file);
    }
}

CopySeat::CopySeat(CopySeat&& other) noexcept :
    path{std::move(other.path)}, file{std::exchange(other.file, -1)} {}

CopySeat& CopySeat::operator=(CopySeat&& other) noexcept {
    std::swap(path, other.path);
    std::swap(file, other.file);
    return *this;
}

bool CopySeat::isLost() const {
    struct stat held {};
    struct stat present {};
    if (file < 0 || ::fstat(file, &held) != 0) {
        return false;
    }
    if (held.st_nlink == 0) {
        return true;
    }
    return ::stat(path.c_str(), &present) == 0 &&
           (present.st_dev != held.st_dev || present.st_ino != held.st_ino);
}

} // namespace velk::daemon
