#pragma once

#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/network/HeardWrites.h"
#include "platform/tessapi/network/NewsFeed.h"
#include "platform/tessapi/network/RedisBell.h"
#include "platform/tessapi/network/RedisLink.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessapi {

/// The log of changes of a site, as one listener follows it from server to server.
///
/// A replica that takes over has the beginning of what the listener has heard, and goes on in another way,
/// with numbers of its own. The listener takes what it has not heard of the beginning, is told to look at
/// everything again once, and goes on with what is new; what it has heard already of that is marked as a
/// repeat.
///
/// Every call throws what RedisLink::call throws.
/// Threads: any.
class SiteNews {
public:
    /// Both outlive the object.
    SiteNews(RedisLink& server, RedisBell& waker) : link{server}, bell{waker} {}

    /// A listener begins at `seq`, when `written` was what there was.
    void begin(std::vector<WriteMark> written, std::int64_t seq);

    /// See Engine::newsAfter.
    Engine::News after(std::int64_t seq);

private:
    std::vector<NewsItem> read(std::int64_t seq);
    /// Entries after `seq`, up to `last` ("+" for all), some at a time.
    std::vector<NewsItem> itemsAfter(std::int64_t seq, const std::string& last);
    /// Whether the site does not keep any more what comes after this change. Numbers that a history leaves
    /// out are not missing. Finds out about another history, too.
    bool isForgottenAfter(std::int64_t seq);
    Engine::News summaryAfter(std::int64_t seq);
    Engine::News lookAgain(std::int64_t seq);

    RedisLink& link;
    RedisBell& bell;
    HeardWrites heard;
};

} // namespace tessapi
