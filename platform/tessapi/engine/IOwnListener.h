#pragma once

#include "platform/tessapi/engine/Change.h"

#include <span>

namespace tessapi {

/// Who listens to a store by the engine that also writes it: it need not be woken for a commit of its own
/// program that is nothing to it, which it knows at once.
/// Threads: any.
class IOwnListener {
public:
    virtual ~IOwnListener() = default;

    /// The program has committed these changes, one or more, without a gap. True when they are nothing to the
    /// listener, which then has been at its newest change before and is so again; false when it has to look.
    virtual bool passOver(std::span<const Change> changes) = 0;
};

} // namespace tessapi
