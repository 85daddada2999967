#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/network/ChannelMemory.h"
#include "platform/tessapi/network/Outbox.h"
#include "platform/tessapi/network/RedisLink.h"
#include "platform/tessapi/network/ValueSender.h"

#include <atomic>
#include <condition_variable>
#include <string>
#include <thread>
#include <vector>

namespace tessapi {

/// While the server of a store is away or refuses, it keeps the values that are written and knocks at the
/// server; when it is back it sends them in order. It says once that it began and once that it is done. Its
/// thread starts with the first trouble.
/// Threads: any.
class Courier {
public:
    /// All outlive the object.
    Courier(RedisLink& server, ValueSender& values, ChannelMemory& known);
    /// Tries once more to send what it keeps, and tells of what it could not.
    ~Courier();
    Courier(const Courier&) = delete;
    Courier& operator=(const Courier&) = delete;

    /// The server is away: knock until it is back.
    void expectReturn() VELK_EXCLUDES(mutex);

    /// Whether values are kept.
    bool isBusy() const { return busy; }

    /// Takes the values if others are kept already, behind which they have to wait.
    bool takeIfBusy(const std::vector<Change>& changes) VELK_EXCLUDES(mutex);

    /// Takes values that the server has not taken, or not answered, because of `why`.
    void keep(Outbox::Batch batch, const std::string& why) VELK_EXCLUDES(mutex);

private:
    enum class Progress { done, more, stuck };

    void startThread() VELK_REQUIRES(mutex);
    void run() VELK_EXCLUDES(mutex);
    /// Whether there is nothing to wait for any more.
    bool deliver() VELK_EXCLUDES(mutex);
    Progress deliverBatch() VELK_EXCLUDES(mutex);
    void add(const std::vector<Change>& changes) VELK_REQUIRES(mutex);
    void giveUp() VELK_EXCLUDES(mutex);
    void announceReturn() VELK_REQUIRES(mutex);
    void say(const std::string& text) const;

    RedisLink& link;
    ValueSender& sender;
    ChannelMemory& channels;
    velk::common::Clock& clock;
    velk::common::Mutex mutex;
    std::condition_variable_any condition;
    Outbox outbox VELK_GUARDED_BY(mutex);
    std::atomic<bool> busy{false}; ///< changes with the mutex held
    bool stopping VELK_GUARDED_BY(mutex){false};
    bool expecting VELK_GUARDED_BY(mutex){false};
    bool announced VELK_GUARDED_BY(mutex){false};
    std::size_t delivered VELK_GUARDED_BY(mutex){0};
    std::thread thread VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
