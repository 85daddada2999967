#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/network/ChannelMemory.h"
#include "platform/tessapi/network/Outbox.h"
#include "platform/tessapi/network/RedisLink.h"
#include "platform/tessapi/network/SentWrites.h"
#include "platform/tessapi/network/ValueSender.h"

#include <atomic>
#include <condition_variable>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tessapi {

/// Brings the values of a program to the server, each call once and in order. While the server is away or
/// refuses, it keeps them and knocks at the server; when it is back it sends them in order. A server that
/// lacks what another one had taken (its replica, which has taken over) gets that again first. Its thread
/// starts with the first trouble. Threads: any.
class Courier {
public:
    using Values = std::vector<Engine::ChannelValue>;

    /// All outlive the object, and the link is not used any more when it goes.
    Courier(RedisLink& server, ValueSender& values, ChannelMemory& known,
            velk::common::Clock& pauseClock = velk::common::Clock::system());
    /// Tries once more to send what it keeps, for some seconds, and tells of what it could not.
    ~Courier();
    Courier(const Courier&) = delete;
    Courier& operator=(const Courier&) = delete;

    /// The server is away: knock until it is back.
    void expectReturn() VELK_EXCLUDES(mutex);
    /// Likewise, and say so once that has lasted for a second: somebody listens, and hears nothing as long. A
    /// server that was started anew is back before.
    void missServer(const std::string& why) VELK_EXCLUDES(mutex);

    /// Whether values are kept.
    bool isBusy() const { return busy; }
    /// Values that are kept.
    Engine::Waiting waiting() VELK_EXCLUDES(mutex);

    /// Sends the values, and gives what the server said; "taken" too when they are kept to be sent later,
    /// which only values of known channels are. Else throws what ValueSender::send throws.
    ValueSender::Verdict send(const Values& values) VELK_EXCLUDES(sending, mutex);

private:
    enum class Progress { done, more, stuck };

    /// Keeps the values if others are kept already, behind which they have to wait.
    bool addIfBusy(const Values& values, const std::vector<Change>& changes) VELK_EXCLUDES(mutex);
    void startThread() VELK_REQUIRES(mutex);
    void run() VELK_EXCLUDES(mutex);
    /// Whoever wants to know what this program keeps; nothing while it has not said that it keeps values.
    void tellWhatWaits() VELK_EXCLUDES(mutex);
    /// Whether there is nothing to wait for any more.
    bool deliver() VELK_EXCLUDES(sending, mutex);
    /// Whether the program ends and has no time for more.
    bool isTooLate() VELK_EXCLUDES(mutex);
    Progress deliverBatch() VELK_EXCLUDES(sending, mutex);
    void take(const ValueSender::Verdict& verdict, Outbox::Batch batch, std::uint64_t generation)
        VELK_EXCLUDES(mutex);
    void keep(Outbox::Batch batch) VELK_REQUIRES(mutex);
    /// The batch was taken by the server of the link's `generation`.
    void remember(Outbox::Batch batch, std::uint64_t generation) VELK_REQUIRES(mutex);
    /// What the server has taken and does not know of any more goes again.
    void sendAgainAfter(std::uint64_t done) VELK_EXCLUDES(mutex);
    void moveSentAfter(std::uint64_t done) VELK_REQUIRES(mutex);
    void announce(const std::string& why) VELK_REQUIRES(mutex);
    /// Also those are told of that were taken once, by a server that has lost them.
    void announceIfKept(const std::string& why) VELK_EXCLUDES(mutex);
    void announceReturn() VELK_REQUIRES(mutex);
    void giveUp() VELK_EXCLUDES(mutex);

    RedisLink& link;
    ValueSender& sender;
    ChannelMemory& channels;
    velk::common::Clock& clock;
    velk::common::Mutex sending; ///< held over a call, so that calls are sent by their numbers
    std::uint64_t lastNumber VELK_GUARDED_BY(sending){0};
    velk::common::Mutex mutex; ///< never held over a call; comes after `sending`
    std::condition_variable_any condition;
    Outbox outbox VELK_GUARDED_BY(mutex);
    SentWrites sent VELK_GUARDED_BY(mutex);
    std::uint64_t doneAtGreeting VELK_GUARDED_BY(mutex){
        0}; ///< the last call that the newest server knew then
    std::int64_t busySinceMs VELK_GUARDED_BY(mutex){0};
    std::atomic<bool> busy{false}; ///< changes with the mutex held
    bool stopping VELK_GUARDED_BY(mutex){false};
    velk::common::Clock::Duration lastTry VELK_GUARDED_BY(mutex){}; ///< ends then, once stopping
    bool expecting VELK_GUARDED_BY(mutex){false};
    velk::common::Clock::Duration expectingSince VELK_GUARDED_BY(mutex){};
    bool announced VELK_GUARDED_BY(mutex){false};
    /// Since when a listener misses the server.
    std::optional<velk::common::Clock::Duration> missingSince VELK_GUARDED_BY(mutex);
    std::size_t delivered VELK_GUARDED_BY(mutex){0};
    std::thread thread VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
