#pragma once

#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/InterprocessLock.h"

#include <string>
#include <vector>

namespace tessapi {

/// Copies the log of a database into its file and starts it anew, so that it stays bounded also while a
/// program stands still in the middle of a read.
///
/// The database's own rule is that the log goes on as long as somebody reads from it, and a program that was
/// stopped reads for ever. So when the log has grown to its bound, the reads that are in the way are broken:
/// the log is started anew under them. Who reads through this library sees that from a counter when its read
/// ends (`BreakableReads`), throws away what it has found and reads again. The reads of any other program are
/// never broken.
/// Threads: those of its database.
class LogBound {
public:
    /// The log is started anew, whoever reads, when it has grown to this many times the frames that are worth
    /// copying, `framesToCopy`. Both outlive the object.
    static constexpr int TIMES = 3;

    LogBound(Database& of, InterprocessLock& lock, int framesToCopy);

    /// The caller holds the lock between the processes.
    void copy();

private:
    bool mayBreakReads() const;

    Database& database;
    InterprocessLock& writers;
    const int frames;
};

} // namespace tessapi
