#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tessapi {

/// A lock that a process holds on a file, or on some bytes of it.
struct HeldLock {
    std::string kind; ///< "POSIX", "FLOCK"
    pid_t process{0};
    std::uint64_t first{0};
    std::uint64_t last{0};
};

/// The locks on the file at `path`, as the system tells of them; empty when there is no such file. A process
/// that this one cannot see, in a container of its own, is not among them.
std::vector<HeldLock> heldLocks(const std::string& path);

} // namespace tessapi
