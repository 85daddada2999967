#pragma once

#include "platform/tessapi/network/Outbox.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace tessapi {

/// Batches that the server has taken not long ago. A replica that takes over may lack them: then they go to
/// it again. Threads: one at a time.
class SentWrites {
public:
    /// Writes that are remembered.
    static constexpr std::size_t MOST = Outbox::MOST;
    /// Longer than a replica is behind, and than a master that was cut off from it goes on by itself.
    static constexpr std::chrono::seconds KEPT{60};

    /// `now` is of a monotonic clock.
    void add(Outbox::Batch batch, std::chrono::nanoseconds now);

    /// Takes those with greater numbers than `done`, in their order.
    std::vector<Outbox::Batch> takeAfter(std::uint64_t done);

    /// Writes in it.
    std::size_t size() const { return writes; }

private:
    struct Sent {
        Outbox::Batch batch;
        std::chrono::nanoseconds time;
    };

    std::deque<Sent> batches; ///< by their numbers
    std::size_t writes{0};
};

} // namespace tessapi
