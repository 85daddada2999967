#pragma once

#include <chrono>
#include <cstdint>

namespace tessapi {

/// Tells a listener of a store to look at its changes. It carries nothing itself.
///
/// A listener takes a ticket, looks, and only then waits with the ticket: what is signalled after the ticket
/// was taken ends the wait at once. Threads: any.
class IBell {
public:
    using Ticket = std::uint32_t;

    virtual ~IBell() = default;

    /// Ends the waits of the listeners.
    virtual void signal() = 0;

    virtual Ticket ticket() const = 0;

    /// Waits until there was a signal after `taken`, at most `longest`. May return early.
    virtual void wait(Ticket taken, std::chrono::milliseconds longest) = 0;
};

} // namespace tessapi
