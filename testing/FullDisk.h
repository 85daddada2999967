#pragma once

#include <csignal>
#include <sys/resource.h>

namespace velk::testing {

/// Limits the size of the files that this process writes while it lives: the disk is full.
/// Threads: one; it concerns all of them.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : before{std::signal(SIGXFSZ, SIG_IGN)} {
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit small{bytes, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, before);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit limit{};
    void (*before)(int);
};

} // namespace velk::testing
