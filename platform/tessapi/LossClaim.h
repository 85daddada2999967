#pragma once

#include "platform/common/Export.h"

#include <cstdint>

namespace tessapi {

/// While one of these lives, whoever has it tells people that a store of this process is lost for good
/// (`isStoreLost`). Without one the clients say so, once for each store. Threads: any.
class VELK_EXPORT LossClaim {
public:
    LossClaim();
    ~LossClaim();
    LossClaim(const LossClaim&) = delete;
    LossClaim& operator=(const LossClaim&) = delete;

    /// The owner tells it now: that clients which end cannot write to the lost store is not told besides.
    void announce();

    /// Values that waited for the server of a store, and were lost with it, since the last call.
    std::uint64_t takeValues();
};

} // namespace tessapi
