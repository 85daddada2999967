#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace tessapi {

/// How a store stands with what it lies on, as one program sees it at one moment. What does not apply to an
/// engine is empty.
struct StoreHealth {
    /// The file that programs work on.
    struct File {
        std::string path;
        std::uint64_t bytes{0};
        std::uint64_t logBytes{0}; ///< of the write-ahead log beside it
        std::int64_t pageSize{0};  ///< bytes
        std::int64_t pages{0};
        std::int64_t freePages{0}; ///< of `pages`, without content
    };

    /// A store that programs work on in memory and that is copied to a database on disk.
    struct Copy {
        std::string path;                ///< of the database on disk
        std::uint64_t bytes{0};          ///< its size, its log included
        std::int64_t valuesEverySec{60}; ///< how often measured values are copied
        std::int64_t lastMs{0};          ///< last copy that worked: milliseconds since 1970 UTC, 0 for never
        std::int64_t lastValuesMs{0};    ///< likewise, of all measured values
        pid_t lastBy{0};                 ///< the process that made it
        std::string failure;             ///< why the copy does not work; empty when the last one did
        std::int64_t failingSinceMs{0};  ///< 0 while the last one worked
        std::uint64_t copies{0};         ///< that had something to copy, since the boot
        std::uint64_t bytesWritten{0};   ///< to the disk by them, since the boot
        std::uint64_t pendingChanges{0}; ///< devices, channels, settings and events that are not copied yet
        std::uint64_t pendingValues{0};  ///< measured values, likewise
    };

    std::string engine; ///< "sqlite", "memory", "redis"
    std::string url;
    std::string server;             ///< of a networked engine: what it says of itself
    std::int64_t schemaVersion{0};  ///< of what the store holds
    std::int64_t schemaOfEngine{0}; ///< which this program makes and works with; 0 where none is known
    std::optional<File> file;
    std::optional<Copy> copy;
    std::uint64_t waitingWrites{0}; ///< that this program has made and the server has not taken yet
    std::int64_t waitingSinceMs{0}; ///< since when some wait: milliseconds since 1970 UTC, 0 for none
};

} // namespace tessapi
