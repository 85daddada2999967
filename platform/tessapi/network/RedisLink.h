#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/network/MasterFinder.h"
#include "platform/tessapi/network/ServerRefusal.h"
#include "platform/tessapi/network/SiteKeys.h"
#include "platform/tessapi/network/Writers.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tessapi {

/// The connection of one program to a site, made anew when it breaks.
///
/// While the server is away calls fail at once with the cause: only `tryToReturn` connects then. A server
/// that has another store under the site's name than it had at first is none for good.
///
/// Every call throws LinkError when the server is away, ServerRefusal when it does not do what it is asked,
/// and boost::system::system_error when the store is gone or the site has another format.
/// Threads: any; one call after the other.
class RedisLink {
public:
    /// Of what a site holds, and of what programs do to it together: it rises when those of two releases may
    /// not work on one site.
    static constexpr std::int64_t FORMAT = 2;

    /// Makes a command; `again` tells that it was sent before and that its answer was lost.
    using Make = std::function<Command(bool again)>;

    /// Is told, with every connection, the last call that the server knows of the writer of values. It must
    /// not call the link.
    using Greeted = std::function<void(std::uint64_t lastValueCall)>;

    RedisLink(const NetworkUrl& store, std::chrono::milliseconds longestWait);

    /// Before `open`.
    void onGreeting(Greeted listener) { greeted = std::move(listener); }

    /// The first contact; gives what the site says of the catalogue that its types are of.
    std::string open(bool create, const std::string& catalogue) VELK_EXCLUDES(mutex);

    Reply call(const Make& make) VELK_EXCLUDES(mutex);
    /// For a command that may be sent twice.
    Reply call(const Command& command) VELK_EXCLUDES(mutex);

    bool isAway() const { return away; }
    /// Whether the server has lost the store: it never comes back.
    bool isGone() const { return gone; }
    /// Connects if the server is away; gives whether it is not any more.
    bool tryToReturn() VELK_EXCLUDES(mutex);

    /// One more connection to the same server.
    std::unique_ptr<RedisConnection> another() VELK_EXCLUDES(mutex);
    /// Rises with every connection that was made.
    std::uint64_t generation() const { return connections; }

    /// The number of the newest change that this program knows of.
    std::int64_t seen() const { return newest; }
    void note(std::int64_t seq);

    /// Where the history of the site begins that the server has: numbers up to this are of another one, which
    /// went on in another way on another server.
    std::int64_t base() const { return historyBase; }
    void noteBase(std::int64_t seq);

    /// Why the server is away; the last cause when it is not.
    std::string whyAway() VELK_EXCLUDES(causeMutex);

    const std::string& store() const { return url.text(); }
    /// What the site is called on the server since its beginning, and what every write names.
    const std::string& token() const { return identity; }

    const SiteKeys keys;
    Writers writers;
    const std::chrono::milliseconds patience;

private:
    enum class Talk { greeting, work };

    void checkUsable() VELK_EXCLUDES(causeMutex);
    [[noreturn]] void leave(const std::string& why) VELK_REQUIRES(mutex) VELK_EXCLUDES(causeMutex);
    void connect(const Deadline& deadline) VELK_REQUIRES(mutex);
    /// Gives identity and catalogue of the site.
    std::pair<std::string, std::string> greet(bool create, const std::string& catalogue,
                                              const Deadline& deadline) VELK_REQUIRES(mutex);
    /// What the answer to a greeting means.
    std::pair<std::string, std::string> enter(ReplyView answer);
    /// Of a server that takes no writes at present, and thus no greeting. Throws `refusal` unless the history
    /// that is known goes on there.
    std::pair<std::string, std::string> enterToRead(const ServerRefusal& refusal, const Deadline& deadline)
        VELK_REQUIRES(mutex);
    /// Of a connection that was just made; there is none any more when it throws.
    void greetAgain(const Deadline& deadline) VELK_REQUIRES(mutex);
    Reply exchange(const Make& make, bool again, const Deadline& deadline, Talk talk = Talk::work)
        VELK_REQUIRES(mutex);
    /// Throws what it means that there was no other answer in time.
    [[noreturn]] static void giveUpOn(const ServerRefusal& refusal);
    /// Does what the refusal asks for; gives whether the call may be tried again.
    bool mend(const ServerRefusal& refusal, const Deadline& deadline, Talk talk) VELK_REQUIRES(mutex);
    Reply askElsewhere(const Endpoint& server, const Command& command, const Deadline& deadline)
        VELK_REQUIRES(mutex);
    [[noreturn]] void lose();

    const NetworkUrl url;
    Greeted greeted{[](std::uint64_t /*lastValueCall*/) {}};
    std::string identity; ///< of the site; from `open` on it stays as it is
    velk::common::Mutex mutex;
    MasterFinder finder VELK_GUARDED_BY(mutex);
    std::unique_ptr<RedisConnection> connection VELK_GUARDED_BY(mutex);
    velk::common::Mutex
        causeMutex; ///< so that nobody waits for a connection attempt to learn that it is away
    std::string cause VELK_GUARDED_BY(causeMutex);
    std::atomic<bool> away{false};
    std::atomic<bool> gone{false};
    std::atomic<std::uint64_t> connections{0};
    std::atomic<std::int64_t> newest{0};
    std::atomic<std::int64_t> historyBase{0};
};

} // namespace tessapi
