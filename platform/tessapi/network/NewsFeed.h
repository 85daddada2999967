#pragma once

#include "platform/tessapi/engine/Change.h"
#include "platform/tessapi/network/Reply.h"
#include "platform/tessapi/network/WriteMark.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace tessapi {

/// A change with the entry of the stream that it came in: changes of one call are in one entry. A plain
/// value.
struct NewsItem {
    Change change;
    WriteMark mark;        ///< of the entry
    std::int64_t entry{0}; ///< the number of its last change
};

/// Changes that have come from a server and were not asked for yet. Threads: one at a time.
class NewsFeed {
public:
    /// The changes of entries of the stream, as XRANGE gives them, in order.
    static std::vector<NewsItem> itemsOf(ReplyView entries);

    /// Writers and the numbers of their last calls by turns, as the functions "start" and "summary" give
    /// them.
    static std::vector<WriteMark> writersOf(ReplyView writers);

    /// The last changes of channels and devices, in order: channel and row by turns, and marks with the
    /// numbers of their changes, as the function "summary" gives them.
    static std::vector<Change> summaryOf(ReplyView rows, ReplyView marks);

    void add(std::vector<NewsItem> items);

    /// Takes those after `seq` if they follow it without a gap, at most `limit`; empty when there are none.
    std::vector<NewsItem> takeAfter(std::int64_t seq, std::size_t limit);

private:
    std::deque<NewsItem> items;
};

} // namespace tessapi
