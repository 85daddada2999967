#pragma once

#include "platform/tessapi/network/NetworkUrl.h"
#include "platform/tessapi/network/RedisConnection.h"

#include <memory>
#include <optional>
#include <string>

namespace tessapi {

/// Finds the server that takes the writes of a site and connects to it.
/// Threads: one at a time.
class MasterFinder {
public:
    explicit MasterFinder(const NetworkUrl& store) : url{store} {}

    /// A connection to that server, with the user known to it. Throws LinkError that names the servers tried.
    std::unique_ptr<RedisConnection> connect(const Deadline& deadline);

    /// Likewise to one server, whatever it is.
    std::unique_ptr<RedisConnection> connectTo(const Endpoint& server, const Deadline& deadline) const;

    /// Where a node of the cluster said that the site is: it is tried first from now on.
    void follow(const Endpoint& server) { home = server; }

    /// The server of "MOVED 5798 127.0.0.1:7001" and of "ASK …".
    Endpoint redirection(const std::string& answer) const;

private:
    std::unique_ptr<RedisConnection> connectToAny(const Deadline& deadline);
    std::unique_ptr<RedisConnection> askSentinels(const Deadline& deadline);
    std::unique_ptr<RedisConnection> askSentinel(const Endpoint& sentinel, const Deadline& deadline);
    void introduce(RedisConnection& server, const Deadline& deadline) const;
    void logIn(RedisConnection& server, const Deadline& deadline) const;

    const NetworkUrl url;
    std::optional<Endpoint> home; ///< where the last connection went
};

} // namespace tessapi
