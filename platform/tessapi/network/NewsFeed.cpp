#include "platform/tessapi/network/NewsFeed.h"

#include "platform/tessapi/network/SiteCodec.h"

#include <algorithm>
#include <iterator>
#include <string>
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

std::vector<Change> NewsFeed::summaryOf(ReplyView rows, ReplyView marks) {
    std::vector<Change> changes;
    for (std::size_t i = 0; i + 1 < rows.size(); i += 2) {
        auto row = SiteCodec::unpackRow(rows.at(i + 1).text());
        changes.push_back(
            {row.seq, Change::Kind::value, rows.at(i).id(), std::move(row.value), row.writtenMs});
    }
    for (std::size_t i = 0; i + 1 < marks.size(); i += 2) {
        const std::string mark{marks.at(i).text()}; // KIND:DEVICE
        changes.push_back({marks.at(i + 1).integer(), static_cast<Change::Kind>(mark.at(0) - '0'),
                           std::stoull(mark.substr(2)), qz::CValue{}, 0});
    }
    std::sort(changes.begin(), changes.end(), [](const Change& a, const Change& b) { return a.seq < b.seq; });
    return changes;
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
