#pragma once

#include "testing/RedisServer.h"
#include "testing/TemporaryDirectory.h"

#include <filesystem>
#include <string>

namespace velk::testing {

/// A Redis server and its replica behind one Unix socket: where programs come to is where the test says.
///
/// Example:
///     RedisPair servers;
///     NetworkClient client{servers.url("berlin")};
///     servers.cutOff();   // from here on the replica lacks what is written
///     servers.takeOver(); // the server crashes, and programs come to the replica
///
/// Threads: one, which has to live as long as the servers shall.
class RedisPair {
public:
    RedisPair() : second{{.lines = {"replicaof 127.0.0.1 " + std::to_string(first.port())}}} {
        RedisServer::await("the replica", [this] { return second.info("master_link_status") == "up"; });
        std::filesystem::create_symlink(first.socket(), door());
    }

    std::string url(const std::string& site) const { return "redis+unix://" + door().string() + "/" + site; }

    RedisServer& master() { return first; }
    RedisServer& replica() { return second; }

    /// Ends the copying once all that was written so far is there.
    void cutOff() {
        RedisServer::await("the replica", [this] {
            return first.info("master_repl_offset") == second.info("slave_repl_offset");
        });
        second.command({"REPLICAOF", "NO", "ONE"});
    }

    void takeOver() {
        const auto next = folder / "next";
        std::filesystem::create_symlink(second.socket(), next);
        std::filesystem::rename(next, door());
        first.stop();
    }

private:
    std::filesystem::path door() const { return folder / "door"; }

    RedisServer first;
    RedisServer second;
    TemporaryDirectory folder;
};

} // namespace velk::testing
