#include "platform/tessapi/network/SiteNews.h"

#include <algorithm>
#include <utility>

namespace tessapi {

namespace {

/// Entries of the stream that a listener takes at a time; each has one to some hundred changes.
constexpr std::uint64_t ENTRIES_AT_A_TIME = 64;
constexpr std::size_t CHANGES_AT_A_TIME = 256;

} // namespace

void SiteNews::begin(std::vector<WriteMark> written, std::int64_t seq) {
    link.note(seq);
    heard.begin(std::move(written), seq);
}

Engine::News SiteNews::after(std::int64_t seq) {
    heard.pass(seq);
    auto items = read(seq);
    if (items.empty() && seq >= link.base()) {
        return {{}, seq, false};
    }
    if ((items.empty() || items.front().change.seq > seq + 1) && isForgottenAfter(seq)) {
        return summaryAfter(seq);
    }
    if (seq < link.base()) { // what is left of the beginning comes first
        const auto isLater = [&](const NewsItem& item) { return item.entry > link.base(); };
        items.erase(std::find_if(items.begin(), items.end(), isLater), items.end());
    }
    if (items.empty()) {
        return lookAgain(seq);
    }
    Engine::News news{{}, items.back().change.seq, false};
    for (auto& [change, mark, entry] : items) {
        if (change.seq > seq) {
            change.isRepeat = heard.isRepeat(mark, entry);
            news.changes.push_back(std::move(change));
        }
    }
    link.note(news.upTo);
    return news;
}

std::vector<NewsItem> SiteNews::read(std::int64_t seq) {
    const auto base = link.base();
    if (seq < base) {
        return itemsAfter(seq, std::to_string(base) + "-0");
    }
    auto known = bell.changesAfter(seq, CHANGES_AT_A_TIME);
    return known ? std::move(*known) : itemsAfter(seq, "+");
}

std::vector<NewsItem> SiteNews::itemsAfter(std::int64_t seq, const std::string& last) {
    Command command{"XRANGE", link.keys.news, "(" + std::to_string(seq) + "-0", last, "COUNT"};
    const auto answer = link.call(command.add(ENTRIES_AT_A_TIME));
    return NewsFeed::itemsOf(answer.view());
}

bool SiteNews::isForgottenAfter(std::int64_t seq) {
    const auto answer = link.call(link.keys.function("reach", true));
    const auto base = answer.view().at(0).integer();
    const auto before = answer.view().at(1).integer();
    link.noteBase(base);
    const auto place = seq >= before && seq < base ? base : seq;
    const auto oldest = NewsFeed::itemsOf(answer.view().at(2));
    return oldest.empty() ? place != base : oldest.front().change.seq > place + 1;
}

Engine::News SiteNews::summaryAfter(std::int64_t seq) {
    const auto answer = link.call(link.keys.function("summary", true).add(seq));
    Engine::News news{NewsFeed::summaryOf(answer.view().at(1), answer.view().at(2)),
                      answer.view().at(0).integer(), true};
    begin(NewsFeed::writersOf(answer.view().at(3)), news.upTo);
    return news;
}

Engine::News SiteNews::lookAgain(std::int64_t seq) {
    const auto base = link.base();
    const auto answer = link.call(link.keys.function("look", true));
    Engine::News news{{}, base, false};
    const auto channels = answer.view().at(0);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        news.changes.push_back({0, Change::Kind::value, channels.at(i).id(), {}, 0});
    }
    const auto devices = answer.view().at(1);
    for (std::size_t i = 0; i < devices.size(); ++i) {
        news.changes.push_back({0, Change::Kind::alarms, devices.at(i).id(), {}, 0});
    }
    // With numbers that no change has: the history has left them out.
    auto number = base - static_cast<std::int64_t>(news.changes.size());
    for (auto& change : news.changes) {
        change.seq = ++number;
        change.isRepeat = true;
    }
    // A listener that could not look at all of them goes on where it was.
    const auto isNew = [seq](const Change& change) { return change.seq > seq; };
    news.changes.erase(news.changes.begin(), std::find_if(news.changes.begin(), news.changes.end(), isNew));
    return news;
}

} // namespace tessapi
