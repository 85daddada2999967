#pragma once

#include "platform/common/Export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessapi {

/// What one program of this machine keeps for a store whose server it does not reach. A plain value.
struct StoreOutage {
    std::string store;         ///< its URL without the options
    int process{0};            ///< the program's
    std::int64_t sinceMs{0};   ///< milliseconds since 1970 UTC
    std::int64_t saidMs{0};    ///< when the program said this; it does so every second or two
    std::uint64_t values{0};   ///< that wait
    std::uint64_t channels{0}; ///< of so many channels
    std::uint64_t most{0};     ///< values of actions and settings that one part of the program keeps
    std::uint64_t givenUp{0};  ///< values that were too many
};

/// What the programs of this machine say of themselves, as far as this user can see it. A plain value.
struct StoreOutages {
    std::vector<std::string> folders; ///< in which was looked; with none of them nothing is known
    std::vector<StoreOutage> outages; ///< of programs that may still run
    std::vector<std::string> refused; ///< what nobody may rely on: "PATH: it belongs to alice"
};

/// Looks into the folders in which programs leave such notes: `$RUNTIME_DIRECTORY`, /run/velk and
/// `$XDG_RUNTIME_DIR/velk`. What lies there counts when its program may run and when it is a file of the
/// folder's owner, of root or of the caller that nobody else may write. Throws no standard exception but
/// std::bad_alloc.
VELK_EXPORT StoreOutages storeOutages();

} // namespace tessapi
