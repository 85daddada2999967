#include "testing/RedisCluster.h"
#include "testing/RedisSentinels.h"
#include "testing/RedisServer.h"
#include "tests/platform/tessapi/network/NetworkClient.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tessapi::network {
namespace {

using std::chrono::steady_clock;
using velk::testing::RedisCluster;
using velk::testing::RedisSentinels;
using velk::testing::RedisServer;

std::string siteOn(const RedisCluster& cluster, std::size_t node) {
    for (int i = 0;; ++i) {
        const std::string site = "gateway-" + std::to_string(i);
        if (cluster.masterOf("tess:{" + site + "}:site") == node) {
            return site;
        }
    }
}

/// Three programs that write "1", "2", … each into a channel of its own, with pauses of some milliseconds,
/// and two that listen to all of them.
class Crowd {
public:
    /// So many programs and servers take their time to begin.
    static constexpr std::chrono::milliseconds PATIENCE{1500};

    explicit Crowd(const std::string& url) : url{url} {
        for (const char* name : {"Daemon.LastWrite", "Daemon.Writes", "Daemon.DeviceLog"}) {
            auto& writer = writers.emplace_back(std::make_unique<Writer>(url));
            writer->channel = writer->client.channel(name);
        }
        for (int i = 0; i < 2; ++i) {
            listeners.push_back(std::make_unique<NetworkClient>(url, true, PATIENCE));
            for (const auto& writer : writers) {
                heard.push_back(listeners.back()->watch(writer->channel));
            }
        }
        for (const auto& writer : writers) {
            writer->begin();
        }
    }

    /// Until each listener has heard so many more of each writer.
    void awaitMore(std::size_t count) const {
        std::vector<std::size_t> before;
        for (const auto& each : heard) {
            before.push_back(each.all().size());
        }
        for (std::size_t i = 0; i < heard.size(); ++i) {
            heard[i].waitFor(before[i] + count);
        }
    }

    /// Ends the writers. Each listener has to have heard each write of each writer once and in order, and the
    /// last ones have to be in the store.
    void expectEverythingOnce() {
        std::vector<int> last;
        for (const auto& writer : writers) {
            last.push_back(writer->end());
            EXPECT_LT(writer->longest, 3 * PATIENCE);
        }
        for (std::size_t i = 0; i < heard.size(); ++i) {
            const auto expected = last[i % writers.size()];
            heard[i].waitForItem(qz::CValue{std::to_string(expected)});
            EXPECT_TRUE(areNumbersUpTo(expected, heard[i].all())) << "of the writer " << i % writers.size();
        }
        NetworkClient reader{url, true, PATIENCE};
        for (std::size_t i = 0; i < writers.size(); ++i) {
            EXPECT_EQ(reader.channels().getChannelCValue(writers[i]->channel),
                      qz::CValue{std::to_string(last[i])});
        }
    }

private:
    struct Writer {
        explicit Writer(const std::string& url) : client{url, true, PATIENCE} {}
        ~Writer() { end(); }

        void begin() {
            thread = std::thread{[this] {
                while (!ending) {
                    const auto start = steady_clock::now();
                    client.set(channel, std::to_string(written + 1));
                    longest = std::max(longest, steady_clock::now() - start);
                    ++written;
                    std::this_thread::sleep_for(std::chrono::milliseconds{3});
                }
            }};
        }

        int end() {
            ending = true;
            if (thread.joinable()) {
                thread.join();
            }
            return written;
        }

        NetworkClient client;
        std::uint64_t channel{0};
        steady_clock::duration longest{};
        std::atomic<bool> ending{false};
        int written{0};
        std::thread thread;
    };

    const std::string url;
    std::vector<std::unique_ptr<NetworkClient>> listeners;
    std::vector<Recorder<qz::CValue>> heard; ///< of the first listener each writer, then of the second
    std::vector<std::unique_ptr<Writer>> writers;
};

/// What is said on the standard error during the test.
class FailoverTest : public ::testing::Test {
protected:
    FailoverTest() { ::testing::internal::CaptureStderr(); }
    ~FailoverTest() override {
        const std::string said = ::testing::internal::GetCapturedStderr();
        EXPECT_LE(countOf("values are kept", said), 1U) << said;
        EXPECT_EQ(countOf("fell behind", said), 0U) << said;
    }
};

class SentinelTest : public FailoverTest {
protected:
    /// Until it follows the new one.
    void awaitFormerMaster() {
        RedisServer::await("the former master",
                           [this] { return servers.master().command({"ROLE"}).rfind("slave", 0) == 0; });
    }

    RedisSentinels servers;
    const std::string service{"redis+sentinel://" + servers.addresses() + "/" + RedisSentinels::SERVICE};
};

class ClusterTest : public FailoverTest {};

class ClusterFailoverTest : public FailoverTest {
protected:
    /// Node 1 has the site, node 4 is its replica.
    void takeOver(const std::vector<std::string>& how) {
        cluster.node(4).command(how);
        cluster.awaitMaster(4);
    }

    RedisCluster cluster{true};
    const std::string url{"redis+cluster://" + cluster.addresses() + "/" + siteOn(cluster, 1)};
};

TEST_F(SentinelTest, EveryWriteArrivesOnceWhenTheMasterCrashes) {
    Crowd crowd{service + "/berlin"};
    crowd.awaitMore(20);
    servers.master().stop();
    servers.awaitFailover();
    crowd.awaitMore(50);
    crowd.expectEverythingOnce();
}

TEST_F(SentinelTest, EveryWriteArrivesOnceWhenTheMasterHangsAndComesBack) {
    Crowd crowd{service + "/berlin"};
    crowd.awaitMore(20);
    servers.master().pause();
    servers.awaitFailover();
    crowd.awaitMore(20);
    servers.master().resume(); // it reads what was sent to it before, and takes itself for the master yet
    awaitFormerMaster();
    crowd.awaitMore(50);
    crowd.expectEverythingOnce();
}

TEST_F(SentinelTest, EveryWriteArrivesOnceWhenTheSentinelsChangeTheMaster) {
    Crowd crowd{service + "/berlin"};
    crowd.awaitMore(20);
    EXPECT_EQ(servers.sentinel(0).command({"SENTINEL", "FAILOVER", RedisSentinels::SERVICE}), "OK");
    servers.awaitFailover();
    awaitFormerMaster(); // for some seconds yet it takes writes, which are lost with it
    crowd.awaitMore(50);
    crowd.expectEverythingOnce();
}

TEST_F(SentinelTest, SentinelsThatAreAwayExceptOneAreEnough) {
    servers.sentinel(0).stop();
    servers.sentinel(1).pause();
    NetworkClient client{service + "/berlin"};
    const std::uint64_t channel = client.channel(RESULT);
    client.set(channel, std::string{"1"});
    EXPECT_EQ(client.channels().getChannelCValue(channel), qz::CValue{std::string{"1"}});
}

TEST_F(SentinelTest, ServiceThatTheSentinelsDoNotKnowIsNamed) {
    try {
        const NetworkClient client{"redis+sentinel://" + servers.addresses() + "/nothing/berlin"};
        ADD_FAILURE() << "it opened the store";
    } catch (const boost::system::system_error& failure) {
        EXPECT_NE(std::string{failure.what()}.find("nothing"), std::string::npos) << failure.what();
    }
}

TEST_F(SentinelTest, MasterThatDoesNotTellItsRoleIsAwayUntilItDoes) {
    NetworkClient client{service + "/berlin"};
    const std::uint64_t channel = client.channel(RESULT);
    servers.master().command({"ACL", "SETUSER", "default", "-role"});
    servers.master().command({"CLIENT", "KILL", "TYPE", "normal"});
    EXPECT_THROW(client.channels().getChannelCValue(channel), boost::system::system_error);
    client.set(channel, std::string{"1"});
    servers.master().command({"ACL", "SETUSER", "default", "+role"});
    RedisServer::await("the value", [&] {
        return client.channels().getChannelCValue(channel) == qz::CValue{std::string{"1"}};
    });
}

TEST_F(ClusterTest, NodesThatDoNotNameTheirAddressAreWhereTheyWereAsked) {
    RedisCluster cluster;
    for (std::size_t i = 0; i < cluster.size(); ++i) {
        EXPECT_EQ(
            cluster.node(i).command({"CONFIG", "SET", "cluster-preferred-endpoint-type", "unknown-endpoint"}),
            "OK");
    }
    NetworkClient client{"redis+cluster://" + cluster.addresses() + "/" + siteOn(cluster, 2)};
    const std::uint64_t channel = client.channel(RESULT);
    client.set(channel, std::string{"1"});
    EXPECT_EQ(client.channels().getChannelCValue(channel), qz::CValue{std::string{"1"}});
}

TEST_F(ClusterTest, GatewaysOfOneDeploymentSpreadOverTheNodesAndNeverMix) {
    RedisCluster cluster;
    std::vector<std::unique_ptr<NetworkClient>> gateways;
    std::vector<std::uint64_t> channels;
    std::vector<Recorder<qz::CValue>> heard;
    for (std::size_t i = 0; i < RedisCluster::MASTERS; ++i) {
        const std::string url = "redis+cluster://" + cluster.addresses() + "/" + siteOn(cluster, i);
        gateways.push_back(std::make_unique<NetworkClient>(url));
        channels.push_back(gateways[i]->channel(MEASURE));
        heard.push_back(gateways[i]->watch(channels[i]));
    }
    // The same identifiers in each of them.
    EXPECT_EQ(std::set<std::uint64_t>(channels.begin(), channels.end()).size(), 1U);
    for (int round = 1; round <= 20; ++round) {
        for (std::size_t i = 0; i < gateways.size(); ++i) {
            gateways[i]->set(channels[i], static_cast<float>(100 * i) + static_cast<float>(round));
        }
    }
    for (std::size_t i = 0; i < gateways.size(); ++i) {
        std::vector<qz::CValue> expected;
        for (int round = 1; round <= 20; ++round) {
            expected.emplace_back(static_cast<float>(100 * i) + static_cast<float>(round));
        }
        EXPECT_EQ(heard[i].waitFor(20), expected);
        EXPECT_NE(cluster.node(i).command({"KEYS", "*"}).find("{" + siteOn(cluster, i) + "}"),
                  std::string::npos);
        EXPECT_EQ(cluster.node(i).command({"KEYS", "*"}).find("{" + siteOn(cluster, (i + 1) % 3) + "}"),
                  std::string::npos);
    }
}

TEST_F(ClusterFailoverTest, EveryWriteArrivesOnceWhenTheNodeCrashes) {
    Crowd crowd{url};
    crowd.awaitMore(20);
    cluster.node(1).stop();
    cluster.awaitMaster(4);
    crowd.awaitMore(50);
    crowd.expectEverythingOnce();
}

TEST_F(ClusterFailoverTest, EveryWriteArrivesOnceWhenTheReplicaTakesItsTurn) {
    Crowd crowd{url};
    crowd.awaitMore(20);
    takeOver({"CLUSTER", "FAILOVER"});
    crowd.awaitMore(50);
    crowd.expectEverythingOnce();
}

TEST_F(ClusterFailoverTest, EveryWriteArrivesOnceWhenTheReplicaTakesOverWithoutAsking) {
    Crowd crowd{url};
    crowd.awaitMore(20);
    takeOver({"CLUSTER", "FAILOVER", "TAKEOVER"});
    crowd.awaitMore(50);
    crowd.expectEverythingOnce();
}

} // namespace
} // namespace tessapi::network
