#pragma once

#include "daemon/HostFacts.h"

#include <string>

namespace velk::daemon {

/// Where the facts of the host come from.
class IHostSource {
public:
    /// The facts as they are at one moment.
    struct Reading {
        HostFacts facts;
        std::string trouble; ///< what keeps a wanted fact from being known, as a sentence; empty for nothing
    };

    virtual ~IHostSource() = default;

    /// Cheap enough to be called every few seconds. Threads: one at a time.
    virtual Reading read() = 0;
};

} // namespace velk::daemon
