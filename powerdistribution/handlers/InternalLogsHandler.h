#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"
#include "powerdistribution/handlers/LogCache.h"

#include <cstdint>

namespace velk::powerdistribution::handlers {

/// Fetches the device's own event log piece by piece. Nothing of it reaches the store. How much comes at a
/// time is the device's decision.
///
/// Threads: any; `lock` serialises all operations, over the calls of the device too.
class InternalLogsHandler final : public BaseHandler {
public:
    InternalLogsHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);
    ~InternalLogsHandler() override;

    void initialize() override VELK_EXCLUDES(lock);

    /// Does nothing: the log has no connector.
    void terminate() override;

    /// Asks for the next piece when the device has newer events than the last one that came.
    void refresh() override VELK_EXCLUDES(lock);

private:
    /// The newest number of the device; a device that does not tell it may always have something new.
    std::uint32_t readTopId() const VELK_REQUIRES(lock);
    void fetchChunk() VELK_REQUIRES(lock);
    void append(const InternalLogChunk& chunk) VELK_REQUIRES(lock);

    const protocols::ValueWrapperPtr logTopIdWrapper VELK_PT_GUARDED_BY(lock);
    const protocols::ValueWrapperPtr logChunkWrapper VELK_PT_GUARDED_BY(lock);
    LogCache cache VELK_GUARDED_BY(lock);
    bool statusRequested VELK_GUARDED_BY(lock){false}; ///< Required: nothing in this system sets it.
    velk::common::Mutex lock;
};

} // namespace velk::powerdistribution::handlers
