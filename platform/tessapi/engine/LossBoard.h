#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/StoreError.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace tessapi {

/// Tells people on the standard error that a store is lost for good, once however many parts of the process
/// find it out; nothing while somebody has claimed to tell it (`LossClaim`). Stores are told apart by their
/// URLs. Threads: any.
class LossBoard {
public:
    /// The one of this process; it lives as long as that.
    static LossBoard& ofProcess();

    /// The store is there: that it is lost will be news.
    void find(const std::string& store) VELK_EXCLUDES(mutex);
    /// One part has lost the store, and with it `kept` values that waited for its server. `fault` is
    /// `disappeared` or `lost`.
    void lose(const std::string& store, StoreFault fault, std::size_t kept) VELK_EXCLUDES(mutex);

    void claim() VELK_EXCLUDES(mutex);
    bool isClaimed() VELK_EXCLUDES(mutex);
    /// Whoever has claimed it tells it now; until the last one releases it.
    void announce() VELK_EXCLUDES(mutex);
    bool isAnnounced() VELK_EXCLUDES(mutex);
    /// Values that nobody took are told.
    void release() VELK_EXCLUDES(mutex);
    /// Values that were lost while somebody had claimed to tell it, since the last call.
    std::uint64_t takeValues() VELK_EXCLUDES(mutex);

private:
    velk::common::Mutex mutex;
    int claims VELK_GUARDED_BY(mutex){0};
    bool announced VELK_GUARDED_BY(mutex){false};
    std::map<std::string, std::uint64_t> values VELK_GUARDED_BY(mutex); ///< by store; that were not told yet
    std::set<std::string> told VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
