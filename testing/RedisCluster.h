#pragma once

#include "testing/FreePort.h"
#include "testing/RedisServer.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace velk::testing {

/// A Redis cluster of three masters on ports of 127.0.0.1, and a replica of each if asked for: nodes 0 to 2
/// are the masters, 3 to 5 their replicas in the same order. Stands when the constructor returns, which takes
/// about three seconds.
///
/// Threads: one, which has to live as long as the nodes shall.
class RedisCluster {
public:
    static constexpr std::size_t MASTERS = 3;

    explicit RedisCluster(bool withReplicas = false) {
        for (std::size_t i = 0; i < (withReplicas ? 2 * MASTERS : MASTERS); ++i) {
            addNode();
        }
        shareSlots();
        introduce();
        for (std::size_t i = MASTERS; i < nodes.size(); ++i) {
            follow(i, i - MASTERS);
        }
        for (const Node& node : nodes) {
            RedisServer::await("the cluster", [&] { return isReady(*node.server); });
        }
    }

    std::size_t size() const { return nodes.size(); }
    RedisServer& node(std::size_t index) { return *nodes.at(index).server; }

    /// "127.0.0.1:PORT" of the masters, with commas between.
    std::string addresses() const {
        std::string result;
        for (std::size_t i = 0; i < MASTERS; ++i) {
            result += (i == 0 ? "" : ",") + nodes[i].server->address();
        }
        return result;
    }

    /// Which node was given the slot of `key`; a replica may have taken it over since.
    std::size_t masterOf(const std::string& key) const {
        const std::size_t slot = std::stoul(nodes[0].server->command({"CLUSTER", "KEYSLOT", key}));
        return slot / (SLOTS / MASTERS + 1);
    }

    /// Waits until `index` is a master for all others that run.
    void awaitMaster(std::size_t index) {
        RedisServer::await("a new master", [&] {
            return node(index).command({"ROLE"}).rfind("master", 0) == 0 &&
                   node(index).command({"CLUSTER", "INFO"}).find("cluster_state:ok") != std::string::npos;
        });
    }

private:
    static constexpr std::size_t SLOTS = 16384;

    struct Node {
        std::unique_ptr<RedisServer> server;
        int busPort;
        std::string id;
    };

    void addNode() {
        const int busPort = freePort();
        auto server = std::make_unique<RedisServer>(RedisServer::Options{
            .lines = {"cluster-enabled yes", "cluster-config-file nodes.conf",
                      "cluster-port " + std::to_string(busPort), "cluster-node-timeout 1000",
                      "cluster-replica-validity-factor 0", "cluster-allow-replica-migration no"}});
        std::string id = server->command({"CLUSTER", "MYID"});
        nodes.push_back(Node{std::move(server), busPort, std::move(id)});
    }

    void shareSlots() const {
        const std::size_t share = SLOTS / MASTERS + 1;
        for (std::size_t i = 0; i < MASTERS; ++i) {
            const std::size_t end = std::min((i + 1) * share, SLOTS) - 1;
            nodes[i].server->command(
                {"CLUSTER", "ADDSLOTSRANGE", std::to_string(i * share), std::to_string(end)});
            nodes[i].server->command({"CLUSTER", "SET-CONFIG-EPOCH", std::to_string(i + 1)});
        }
    }

    /// Each to each, so that nobody has to hear of another by gossip.
    void introduce() const {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                nodes[i].server->command({"CLUSTER", "MEET", "127.0.0.1",
                                          std::to_string(nodes[j].server->port()),
                                          std::to_string(nodes[j].busPort)});
            }
        }
    }

    void follow(std::size_t replica, std::size_t master) const {
        RedisServer::await("a master to follow", [&] {
            return nodes[replica].server->command({"CLUSTER", "REPLICATE", nodes[master].id}) == "OK";
        });
    }

    bool isReady(const RedisServer& server) const {
        const std::string state = server.command({"CLUSTER", "INFO"});
        return state.find("cluster_state:ok") != std::string::npos &&
               state.find("cluster_known_nodes:" + std::to_string(nodes.size())) != std::string::npos &&
               (server.info("role") == "master"
                    ? server.info("connected_slaves") == std::to_string(nodes.size() / MASTERS - 1)
                    : server.info("master_link_status") == "up");
    }

    std::vector<Node> nodes;
};

} // namespace velk::testing
