#include "platform/tessapi/engine/HeldLocks.h"

#include <fstream>
#include <limits>
#include <sstream>
#include <sys/stat.h>

namespace tessapi {

std::vector<HeldLock> heldLocks(const std::string& path) {
    struct stat status {};
    std::vector<HeldLock> held;
    if (::stat(path.c_str(), &status) != 0) {
        return held;
    }
    const auto inode = ":" + std::to_string(status.st_ino);
    std::ifstream locks{"/proc/locks"};
    // "1: POSIX  ADVISORY  READ 4711 fe:00:1234 123 123"; a line of a waiting one has "->" more.
    for (std::string line; std::getline(locks, line);) {
        std::istringstream words{line};
        std::string number, advisory, access, file, end;
        HeldLock lock;
        words >> number >> lock.kind >> advisory >> access >> lock.process >> file >> lock.first >> end;
        const bool isHere = words && file.size() > inode.size() &&
                            file.compare(file.size() - inode.size(), inode.size(), inode) == 0;
        if (isHere) {
            lock.last = end == "EOF" ? std::numeric_limits<std::uint64_t>::max() : std::stoull(end);
            held.push_back(lock);
        }
    }
    return held;
}

} // namespace tessapi
