#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>

namespace tessapi {

/// The lock on a file of its own, which several holders share or one has alone, among all objects of all
/// programs. The kernel frees it when its holder dies. A process that was forked off while it was held keeps
/// it beyond the end of its maker, if that did not end this object. Threads: one at a time.
class FileLock {
public:
    /// Makes the file when it is missing; throws boost::system::system_error that names `store`.
    FileLock(std::string file, std::string storeName);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Changing the kind loses the lock when it cannot be had at once.
    bool tryShared();
    /// Waits for others for at most `longest`.
    bool tryAlone(std::chrono::milliseconds longest = {});
    /// Throws `StoreFault::locked` when it cannot be had within `longest`.
    void awaitShared(std::chrono::milliseconds longest);
    void awaitAlone(std::chrono::milliseconds longest);
    void release();
    /// Whether nobody else holds it: then it is had alone, else shared.
    bool awaitAny(std::chrono::milliseconds longest);

    /// A process that holds it, maybe this one; 0 for none that is known.
    pid_t holder() const;

    /// A sign in the file, for whoever comes after this program too.
    void leaveSign();
    bool hasSign() const;

private:
    bool attempt(int operation);
    bool attempt(int operation, std::chrono::milliseconds longest);
    void await(int operation, std::chrono::milliseconds longest);

    const std::string path;
    const std::string store;
    const int descriptor;
    const pid_t owner;
};

} // namespace tessapi
