#include "platform/tessapi/network/NewsFeed.h"

#include "platform/tessapi/network/BadData.h"
#include "platform/tessapi/network/SiteCodec.h"
#include "platform/tessapi/network/Unpacker.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace tessapi {

namespace {

std::uint64_t writerIn(std::string_view bytes) {
    return Unpacker{bytes}.number<std::uint64_t>();
}

/// "KIND:DEVICE".
std::pair<Change::Kind, std::uint64_t> markOf(std::string_view text) {
    std::uint64_t device = 0;
    if (text.size() > 2 && text[1] == ':') {
        const auto* end = text.data() + text.size();
        const auto [stop, failure] = std::from_chars(text.data() + 2, end, device);
        if (failure == std::errc{} && stop == end) {
            return {static_cast<Change::Kind>(text[0] - '0'), device};
        }
    }
    throw BadData{"the mark " + std::string{text}};
}

/// Entries of earlier versions have another mark, which says nothing about the order of calls.
WriteMark markIn(std::string_view bytes) {
    Unpacker from{bytes};
    WriteMark mark;
    if (bytes.size() == sizeof mark.writer + sizeof mark.number) {
        mark.writer = from.number<std::uint64_t>();
        mark.number = from.number<std::uint64_t>();
    }
    return mark;
}

} // namespace

std::vector<NewsItem> NewsFeed::itemsOf(ReplyView entries) {
    std::vector<NewsItem> all;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto last = SiteCodec::numberOf(entries.at(i).at(0).text());
        const auto fields = entries.at(i).at(1);
        const auto mark = markIn(fields.at(3).text());
        for (auto& change : SiteCodec::unpackChanges(fields.at(1).text(), last)) {
            all.push_back({std::move(change), mark, last});
        }
    }
    return all;
}

std::vector<WriteMark> NewsFeed::writersOf(ReplyView writers) {
    std::vector<WriteMark> all;
    for (std::size_t i = 0; i + 1 < writers.size(); i += 2) {
        all.push_back({writerIn(writers.at(i).text()), writers.at(i + 1).id()});
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
        const auto [kind, device] = markOf(marks.at(i).text());
        changes.push_back({marks.at(i + 1).integer(), kind, device, qz::CValue{}, 0});
    }
    std::sort(changes.begin(), changes.end(), [](const Change& a, const Change& b) { return a.seq < b.seq; });
    return changes;
}

void NewsFeed::add(std::vector<NewsItem> more) {
    items.insert(items.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

std::vector<NewsItem> NewsFeed::takeAfter(std::int64_t seq, std::size_t limit) {
    while (!items.empty() && items.front().change.seq <= seq) {
        items.pop_front();
    }
    std::vector<NewsItem> taken;
    while (!items.empty() && taken.size() < limit && items.front().change.seq == seq + 1) {
        taken.push_back(std::move(items.front()));
        items.pop_front();
        ++seq;
    }
    if (taken.empty()) {
        items.clear(); // what is there does not follow
    }
    return taken;
}

} // namespace tessapi
