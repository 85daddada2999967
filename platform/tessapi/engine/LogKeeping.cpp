#include "platform/tessapi/engine/LogKeeping.h"

#include <chrono>

namespace tessapi {

LogKeeping::LogKeeping(const std::string& path, const std::string& store, InterprocessLock& lock,
                       int framesToCopy) :
    file{path}, writers{lock}, database{path, store}, log{database, lock, framesToCopy} {
    database.execute("SELECT count(*) FROM sqlite_master"); // the log is open from the first read on
}

velk::common::Clock::Duration LogKeeping::keep(const Round& round) {
    if (round.committed) {
        // First, because a checkpoint that a reader holds up syncs nothing.
        database.syncLog();
    }
    if (round.copyLog) {
        InterprocessHold hold{writers};
        log.copy();
    }
    return std::chrono::hours{1};
}

std::string LogKeeping::leftBehind() const {
    return "what was changed last is in " + file + "-wal, but a power cut may cost it; see to the disk";
}

} // namespace tessapi
