#include "platform/tessapi/network/MasterFinder.h"

#include "platform/common/SecretFile.h"
#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"
#include "platform/tessapi/network/SocketTransport.h"
#include "platform/tessapi/network/TlsTransport.h"

#include <charconv>
#include <utility>
#include <vector>

namespace tessapi {

namespace {

std::unique_ptr<ITransport> transportTo(const Endpoint& server, const NetworkUrl& url,
                                        const Deadline& deadline) {
    if (url.isEncrypted) {
        return std::make_unique<TlsTransport>(server, url, deadline);
    }
    return std::make_unique<SocketTransport>(server, deadline);
}

std::uint16_t portOf(std::string_view text) {
    std::uint16_t port = 0;
    const auto [stop, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (failure != std::errc{} || stop != text.data() + text.size()) {
        throw LinkError{"'" + std::string{text} + "' is no port"};
    }
    return port;
}

/// Each server gets its share of the time, so that one that hangs leaves some for the others.
Deadline shareOf(const Deadline& deadline, std::size_t servers) {
    return deadline.within(std::chrono::milliseconds{deadline.left() / static_cast<int>(servers)});
}

} // namespace

Endpoint MasterFinder::redirection(const std::string& answer) const {
    const auto place = answer.substr(answer.rfind(' ') + 1);
    const auto colon = place.rfind(':');
    if (colon == std::string::npos) {
        throw LinkError{"an answer that no server of a store gives: " + answer};
    }
    Endpoint target{place.substr(0, colon), portOf(std::string_view{place}.substr(colon + 1)), ""};
    if (target.host.empty() || target.host == "?") { // a node that does not know its own address
        target.host = (home ? *home : url.endpoints.front()).host;
    }
    return target;
}

std::unique_ptr<RedisConnection> MasterFinder::connect(const Deadline& deadline) {
    return url.kind == NetworkUrl::Kind::sentinel ? askSentinels(deadline) : connectToAny(deadline);
}

std::unique_ptr<RedisConnection> MasterFinder::connectTo(const Endpoint& server,
                                                         const Deadline& deadline) const {
    auto connection = std::make_unique<RedisConnection>(transportTo(server, url, deadline));
    try {
        introduce(*connection, deadline);
    } catch (const ServerRefusal& refusal) {
        throw LinkError{server.text() + ": " + refusal.what()};
    } catch (const LinkError& failure) {
        throw LinkError{server.text() + ": " + failure.what()};
    }
    return connection;
}

void MasterFinder::introduce(RedisConnection& server, const Deadline& deadline) const {
    if (!url.passwordFile.empty()) {
        logIn(server, deadline);
    }
    try {
        // People see who is connected, and a server that wants a password says so.
        server.call({"CLIENT", "SETNAME", "tess"}, deadline);
    } catch (const ServerRefusal& refusal) {
        if (refusal.code() != "NOPERM") {
            throw;
        }
    }
}

void MasterFinder::logIn(RedisConnection& server, const Deadline& deadline) const {
    Command command{"AUTH"};
    if (!url.user.empty()) {
        command.add(url.user);
    }
    // Read anew for every connection, so that a changed password needs no restart.
    try {
        command.add(velk::common::SecretFile::read(url.passwordFile));
    } catch (const std::runtime_error& failure) {
        throw LinkError{failure.what()};
    }
    server.call(command, deadline);
}

std::unique_ptr<RedisConnection> MasterFinder::connectToAny(const Deadline& deadline) {
    std::vector<Endpoint> candidates = url.endpoints;
    if (home) {
        candidates.insert(candidates.begin(), *home);
    }
    std::string reasons;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        try {
            auto found = connectTo(candidates[i], shareOf(deadline, candidates.size() - i));
            home = candidates[i];
            return found;
        } catch (const LinkError& failure) {
            reasons += (reasons.empty() ? "" : "; ") + std::string{failure.what()};
        }
    }
    home.reset();
    throw LinkError{reasons};
}

std::unique_ptr<RedisConnection> MasterFinder::askSentinels(const Deadline& deadline) {
    std::string reasons;
    for (std::size_t i = 0; i < url.endpoints.size(); ++i) {
        try {
            return askSentinel(url.endpoints[i], shareOf(deadline, url.endpoints.size() - i));
        } catch (const LinkError& failure) {
            reasons += (reasons.empty() ? "" : "; ") + std::string{failure.what()};
        }
    }
    throw LinkError{reasons};
}

std::unique_ptr<RedisConnection> MasterFinder::askSentinel(const Endpoint& sentinel,
                                                           const Deadline& deadline) {
    // The sentinels have no users of the store.
    RedisConnection connection{transportTo(sentinel, url, deadline)};
    Endpoint master;
    try {
        const auto answer = connection.call({"SENTINEL", "GET-MASTER-ADDR-BY-NAME", url.service}, deadline);
        if (answer.view().isNil()) {
            throw LinkError{"the sentinel does not know the service " + url.service};
        }
        master.host = answer.view().at(0).text();
        master.port = portOf(answer.view().at(1).text());
    } catch (const ServerRefusal& refusal) {
        throw LinkError{sentinel.text() + ": " + refusal.what()};
    }
    auto found = connectTo(master, deadline);
    try {
        if (found->call({"ROLE"}, deadline).view().at(0).text() == "master") {
            return found;
        }
    } catch (const ServerRefusal& refusal) {
        throw LinkError{master.text() + ": " + refusal.what()};
    }
    throw LinkError{master.text() + " is not the master any more"};
}

} // namespace tessapi
