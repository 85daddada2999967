#include "platform/tessapi/network/NewsFeed.h"

#include "platform/tessapi/network/SiteCodec.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tessapi {

std::vector<Change> NewsFeed::changesOf(ReplyView entries) {
    std::vector<Change> all;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto entry = entries.at(i);
        auto some =
            SiteCodec::unpackChanges(entry.at(1).at(1).text(), SiteCodec::numberOf(entry.at(0).text()));
        all.insert(all.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
    }
    return all;
}

void NewsFeed::add(std::vector<Change> more) {
    changes.insert(changes.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

std::vector<Change> NewsFeed::takeAfter(std::int64_t seq, std::size_t limit) {
    while (!changes.empty() && changes.front().seq <= seq) {
        changes.pop_front();
    }
    std::vector<Change> taken;
    while (!changes.empty() && taken.size() < limit && changes.front().seq == seq + 1) {
        taken.push_back(std::move(changes.front()));
        changes.pop_front();
        ++seq;
    }
    if (taken.empty()) {
        changes.clear(); // what is there does not follow
    }
    return taken;
}

} // namespace tessapi
