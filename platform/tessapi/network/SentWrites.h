#pragma once

#include "platform/tessapi/network/Outbox.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <unordered_map>
#include <vector>

namespace tessapi {

/// Batches that the server has taken. A replica that takes over may lack the last ones, and a server that is
/// started with older data lacks more: then they go to it again. What is older than a minute counts only as
/// far as it is the newest value of a channel of which that matters. Threads: one at a time.
class SentWrites {
public:
    /// Writes of the last minute that are remembered, and channels with a newest value.
    static constexpr std::size_t MOST = Outbox::MOST;
    /// Of those of the last minute.
    static constexpr std::size_t MOST_BYTES = Outbox::MOST_BYTES;
    /// Longer than a replica is behind, and than a master that was cut off from it goes on by itself.
    static constexpr std::chrono::seconds KEPT{60};

    /// Whether of the channel every write counts, and none but when it is new.
    using IsInOrder = std::function<bool(std::uint64_t channel)>;

    explicit SentWrites(IsInOrder rule) : isInOrder{std::move(rule)} {}

    /// `now` is of a monotonic clock.
    void add(Outbox::Batch batch, std::chrono::nanoseconds now);

    /// Takes those with greater numbers than `done`, in their order.
    std::vector<Outbox::Batch> takeAfter(std::uint64_t done, std::chrono::nanoseconds now);

    /// Writes in it.
    std::size_t size() const { return writes + newest.size(); }

private:
    struct Sent {
        Outbox::Batch batch;
        std::chrono::nanoseconds time;
    };

    /// The batch is about to come to those of the last minute, or to leave them.
    void count(const Outbox::Batch& batch);
    void uncount(const Outbox::Batch& batch);
    void ageOld(std::chrono::nanoseconds now);
    void age(Outbox::Batch batch);
    void forget(std::uint64_t channel);

    const IsInOrder isInOrder;
    std::deque<Sent> batches;                   ///< of the last minute, by their numbers
    std::size_t writes{0};                      ///< in these
    std::size_t bytes{0};                       ///< of these
    std::map<std::uint64_t, Outbox::Batch> old; ///< by their numbers, each with newest values only
    std::unordered_map<std::uint64_t, std::uint64_t>
        newest; ///< channel, and the number of its batch in `old`
};

} // namespace tessapi
