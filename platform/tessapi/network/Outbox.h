#pragma once

#include "platform/tessapi/engine/Change.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessapi {

/// Writes that a server has not taken yet, in their order. Of a channel of which only the newest value counts
/// there is one; of the others there are at most `MOST`, and the oldest go first. Threads: one at a time.
class Outbox {
public:
    static constexpr std::size_t MOST = 10'000;
    /// Writes that are sent at a time.
    static constexpr std::size_t BATCH = 100;

    /// Writes that go together, and whether they went before without an answer.
    struct Batch {
        std::string mark;     ///< by which the server knows them again
        std::int64_t seen{0}; ///< the newest change that was known when they were sent first
        bool sentBefore{false};
        std::vector<Change> changes;
    };

    /// `inOrder`: every write of this channel counts.
    void add(Change change, bool inOrder);
    /// A batch that was sent and not answered: it goes before all others, in the order of these calls.
    void addUncertain(Batch batch);

    bool isEmpty() const { return uncertain.empty() && entries.empty(); }
    /// Writes in it.
    std::size_t size() const;

    /// The next batch; it stays here until `drop` or `dropChannel`. `mark` and `seen` are for one that was
    /// not sent yet. Not for an empty box.
    Batch& next(const std::string& mark, std::int64_t seen);
    /// What `next` gave was taken.
    void drop() { uncertain.pop_front(); }
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

    std::deque<Batch> uncertain;
    Entries entries;
    std::unordered_map<std::uint64_t, Entries::iterator> newest; ///< of channels of which that counts
    std::size_t ordered{0};
    std::size_t lost{0};
};

} // namespace tessapi
