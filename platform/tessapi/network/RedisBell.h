#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/IBell.h"
#include "platform/tessapi/network/NewsFeed.h"
#include "platform/tessapi/network/RedisLink.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tessapi {

/// Waits for the changes of a site on a connection of its own and takes them as they come, so that a listener
/// need not ask for them once it is woken.
/// Threads: any; one waits at a time, others wait beside it for signals only.
class RedisBell final : public IBell {
public:
    /// `server` outlives the object.
    explicit RedisBell(RedisLink& server);
    ~RedisBell() override;
    RedisBell(const RedisBell&) = delete;
    RedisBell& operator=(const RedisBell&) = delete;

    void signal() override;
    Ticket ticket() const override { return signals; }
    void wait(Ticket taken, std::chrono::milliseconds longest) override VELK_EXCLUDES(mutex);

    /// The changes after `seq` that have come. Nothing when the store has to be asked; an empty list when it
    /// has said already that there are none. A following `wait` waits for those after `seq`.
    std::optional<std::vector<NewsItem>> changesAfter(std::int64_t seq, std::size_t limit)
        VELK_EXCLUDES(mutex);

private:
    using Moment = std::chrono::steady_clock::time_point;

    void pause(std::chrono::milliseconds longest) const;
    void listen(std::chrono::milliseconds longest) VELK_REQUIRES(mutex);
    void ask() VELK_REQUIRES(mutex);
    void take() VELK_REQUIRES(mutex);
    void drainSignals() const;

    RedisLink& link;
    const int signalled; ///< an eventfd
    std::atomic<Ticket> signals{0};
    velk::common::Mutex mutex;
    std::unique_ptr<RedisConnection> connection VELK_GUARDED_BY(mutex);
    std::uint64_t generation VELK_GUARDED_BY(mutex){0}; ///< of the link when the connection was made
    NewsFeed feed VELK_GUARDED_BY(mutex);
    std::int64_t position VELK_GUARDED_BY(mutex){-1};  ///< of the listener; -1: there is none yet
    std::int64_t askedFrom VELK_GUARDED_BY(mutex){-1}; ///< -1: no question is open
    Moment askedAt VELK_GUARDED_BY(mutex){};
    /// Over this connection came an answer that a server of a store gives: its silence means that there is
    /// no change, and not that nonsense is on its way.
    bool isTrusted VELK_GUARDED_BY(mutex){false};
    std::int64_t quietAt VELK_GUARDED_BY(mutex){-1}; ///< the server has nothing after this; -1: unknown
};

} // namespace tessapi
