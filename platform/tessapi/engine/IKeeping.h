#pragma once

#include "platform/common/Clock.h"

#include <string>

namespace tessapi {

/// How what was committed comes to the disk.
/// Threads: the keeper's.
class IKeeping {
public:
    struct Round {
        bool committed{false}; ///< something may have been, by any program
        bool copyLog{false};   ///< the log of the database has grown
        bool last{false};      ///< this program closes the store
    };

    virtual ~IKeeping() = default;

    /// Gives after which time there may be something to do without a further commit.
    virtual velk::common::Clock::Duration keep(const Round& round) = 0;

    /// For people, when the last round has failed: where that is now which may not be on the disk yet, and
    /// what there is to do about it.
    virtual std::string leftBehind() const = 0;
};

} // namespace tessapi
