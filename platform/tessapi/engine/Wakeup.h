#pragma once

#include "platform/tessapi/engine/SharedPage.h"

#include <chrono>
#include <cstdint>

namespace tessapi {

/// Tells the listeners of a store, in all programs, to look at its change log. It carries nothing itself.
///
/// A listener takes a ticket, looks, and only then waits with the ticket: what is signalled after the ticket
/// was taken ends the wait at once. Threads: any, of any process.
class Wakeup {
public:
    using Ticket = std::uint32_t;

    /// `owner` outlives the object.
    explicit Wakeup(SharedPage& owner) : page{owner} {}

    /// After a commit. Without listeners it costs no call of the system.
    void signal();

    Ticket ticket() const;

    /// Waits until there was a signal after `taken`, at most `longest`: a writer that was killed between its
    /// commit and its signal must not keep the news for ever. May return early.
    void wait(Ticket taken, std::chrono::milliseconds longest);

private:
    SharedPage& page;
};

} // namespace tessapi
