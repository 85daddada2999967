#pragma once

#include "testing/FreePort.h"
#include "testing/RedisServer.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace velk::testing {

/// A Redis master, its replica, and three sentinels that watch over the two under the name "store" and let
/// the replica take over half a second after the master went.
///
/// Threads: one, which has to live as long as the servers shall.
class RedisSentinels {
public:
    static constexpr std::size_t SENTINELS = 3;
    static constexpr const char* SERVICE = "store";

    RedisSentinels() : second{{.lines = {"replicaof 127.0.0.1 " + std::to_string(first.port())}}} {
        // The link is up before what is written comes over it, which begins with the replica's first word.
        first.command({"SET", "probe", "1"});
        RedisServer::await("the replica", [this] { return second.command({"GET", "probe"}) == "1"; });
        first.command({"DEL", "probe"});
        RedisServer::await("the replica", [this] { return second.command({"GET", "probe"}).empty(); });
        std::array<int, SENTINELS> ports{};
        for (int& port : ports) {
            port = freePort();
        }
        for (std::size_t i = 0; i < SENTINELS; ++i) {
            sentinels.push_back(std::make_unique<RedisServer>(RedisServer::Options{
                .sentinel = true, .port = ports.at(i), .lines = configuration(i, ports)}));
        }
        for (const auto& sentinel : sentinels) {
            RedisServer::await("the sentinels' agreement", [&] {
                return sentinel->command({"SENTINEL", "CKQUORUM", SERVICE}).rfind("OK", 0) == 0;
            });
        }
    }

    /// The master at the beginning, and its replica.
    RedisServer& master() { return first; }
    RedisServer& replica() { return second; }
    RedisServer& sentinel(std::size_t index) { return *sentinels.at(index); }

    /// "127.0.0.1:PORT" of the sentinels, with commas between.
    std::string addresses() const {
        std::string result;
        for (const auto& sentinel : sentinels) {
            result += (result.empty() ? "" : ",") + sentinel->address();
        }
        return result;
    }

    /// Waits until the sentinels name the replica as the master.
    void awaitFailover() const {
        for (const auto& sentinel : sentinels) {
            RedisServer::await("the failover", [&] {
                return sentinel->command({"SENTINEL", "GET-MASTER-ADDR-BY-NAME", SERVICE}) ==
                       "127.0.0.1\n" + std::to_string(second.port());
            });
        }
    }

private:
    /// All know of each other from the start, as they would else only after some seconds.
    std::vector<std::string> configuration(std::size_t own, const std::array<int, SENTINELS>& ports) const {
        const std::string name{SERVICE};
        const std::string at = " 127.0.0.1 ";
        std::vector<std::string> lines{"sentinel myid " + id(own),
                                       "sentinel monitor " + name + at + std::to_string(first.port()) + " 2",
                                       "sentinel down-after-milliseconds " + name + " 500",
                                       "sentinel failover-timeout " + name + " 3000",
                                       "sentinel known-replica " + name + at + std::to_string(second.port())};
        for (std::size_t i = 0; i < SENTINELS; ++i) {
            if (i != own) {
                lines.push_back("sentinel known-sentinel " + name + at + std::to_string(ports.at(i)) + " " +
                                id(i));
            }
        }
        return lines;
    }

    static std::string id(std::size_t index) { return std::string(40, static_cast<char>('a' + index)); }

    RedisServer first;
    RedisServer second;
    std::vector<std::unique_ptr<RedisServer>> sentinels;
};

} // namespace velk::testing
