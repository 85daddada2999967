#pragma once

#include "platform/common/Mutex.h"

#include <cstddef>
#include <map>
#include <string>

namespace tessapi {

/// What a process says on the standard error about its stores on the network: one line when the server of a
/// store goes and one when it is back, however many of its parts have the store open. Stores are told apart
/// by their URLs, in which there are no secrets. Threads: any.
class OutageBoard {
public:
    /// The one of this process; it lives as long as that.
    static OutageBoard& ofProcess();

    /// One part has opened the store.
    void open(const std::string& store) VELK_EXCLUDES(mutex);
    /// One part misses the server; from now on until its `end` or `leave`. `why` is the cause.
    void begin(const std::string& store, const std::string& why) VELK_EXCLUDES(mutex);
    /// That part had too many writes to keep them all; said once in an outage, and how many at its end.
    void giveUp(const std::string& store, std::size_t writes) VELK_EXCLUDES(mutex);
    /// That part has the server again, and has written what it kept.
    void end(const std::string& store, std::size_t written) VELK_EXCLUDES(mutex);
    /// That part ends, with so many writes that it kept.
    void leave(const std::string& store, std::size_t lost) VELK_EXCLUDES(mutex);
    /// The server has lost the store. `isMissing`: that part had begun an outage.
    void lose(const std::string& store, std::size_t kept, bool isMissing) VELK_EXCLUDES(mutex);

private:
    struct Outage {
        std::size_t parts{0}; ///< that miss the server
        std::size_t written{0};
        std::size_t givenUp{0};
        std::size_t lost{0};
        bool isStoreLost{false};
    };

    void finish(const std::string& store, Outage& outage) VELK_REQUIRES(mutex);

    velk::common::Mutex mutex;
    std::map<std::string, Outage> outages VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
