#pragma once

#include "platform/tessapi/engine/Change.h"
#include "platform/tessapi/network/Reply.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace tessapi {

/// Changes that have come from a server and were not asked for yet. Threads: one at a time.
class NewsFeed {
public:
    /// The changes of entries of the stream, as XRANGE gives them, in order.
    static std::vector<Change> changesOf(ReplyView entries);

    /// The last changes of channels and devices, in order: channel and row by turns, and marks with the
    /// numbers of their changes, as the function "summary" gives them.
    static std::vector<Change> summaryOf(ReplyView rows, ReplyView marks);

    void add(std::vector<Change> changes);
    void clear() { changes.clear(); }

    /// Takes those after `seq` if they follow it without a gap, at most `limit`; empty when there are none.
    std::vector<Change> takeAfter(std::int64_t seq, std::size_t limit);

private:
    std::deque<Change> changes;
};

} // namespace tessapi
