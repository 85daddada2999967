#pragma once

#include "platform/tessapi/engine/Change.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <unordered_map>
#include <vector>

namespace tessapi {

/// Writes that a server has not taken yet, in their order. Of a channel of which only the newest value counts
/// there is one; of the others there are at most `MOST` with `MOST_BYTES`, and the oldest go first. Threads:
/// one at a time.
class Outbox {
public:
    static constexpr std::size_t MOST = 10'000;
    /// A journal is written whole with each of its entries.
    static constexpr std::size_t MOST_BYTES = std::size_t{16} << 20U;
    /// Writes that are sent at a time.
    static constexpr std::size_t BATCH = 100;

    /// Writes that go together as one call.
    struct Batch {
        std::uint64_t number{
            0}; ///< of the call; of calls of one program that rises, and stays when one comes again
        bool afterGap{false}; ///< what the server misses before it is not there any more
        std::vector<Change> changes;
    };

    /// `inOrder`: every write of this channel counts.
    void add(Change change, bool inOrder);
    /// A batch with a number, which was sent: these go before all others, by their numbers.
    void addSent(Batch batch);

    /// What a write takes.
    static std::size_t bytesOf(const Change& change);

    bool isEmpty() const { return sent.empty() && entries.empty(); }
    /// Writes in it.
    std::size_t size() const;
    /// Of so many channels.
    std::size_t channels() const;

    /// The next batch; it stays here until `drop` or `dropChannel`. `number` is for one that was not sent
    /// yet. Not for an empty box.
    Batch& next(std::uint64_t number);
    /// The batch was taken.
    void drop(std::uint64_t number);
    /// The channel of a write is not there any more.
    void dropChannel(std::uint64_t channel);
    void clear();

    /// Writes that had to go because there were too many, since the last call.
    std::size_t takeLost();

private:
    struct Entry {
        Change change;
        bool inOrder{false};
    };
    using Entries = std::list<Entry>;

    void forgetOldest();
    /// One of those that count is not among the entries any more.
    void uncount(const Change& change);

    std::deque<Batch> sent; ///< by their numbers
    Entries entries;
    std::unordered_map<std::uint64_t, Entries::iterator> newest; ///< of channels of which that counts
    std::size_t ordered{0};
    std::size_t orderedBytes{0};
    std::size_t lost{0};
};

} // namespace tessapi
