#pragma once

#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/IKeeping.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/LogBound.h"

#include <string>

namespace tessapi {

/// Of a store that programs work on where it is kept: syncs the log, and copies it into the file when it has
/// grown, so that it stays bounded.
class LogKeeping final : public IKeeping {
public:
    /// `lock` outlives the object.
    LogKeeping(const std::string& path, const std::string& store, InterprocessLock& lock, int framesToCopy);

    velk::common::Clock::Duration keep(const Round& round) override;
    std::string leftBehind() const override;

private:
    const std::string file;
    InterprocessLock& writers;
    Database database;
    LogBound log;
};

} // namespace tessapi
