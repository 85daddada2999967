#include "testing/RedisCluster.h"
#include "tests/platform/tessapi/network/NetworkClient.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace tessapi::network {
namespace {

using velk::testing::RedisCluster;

/// A site that is moved from one node of a cluster to another, key by key, while programs work on it.
class SlotMoveTest : public ::testing::Test {
protected:
    static constexpr int COUNT = 400;

    void begin() {
        to().command({"CLUSTER", "SETSLOT", slot, "IMPORTING", idOf(from())});
        from().command({"CLUSTER", "SETSLOT", slot, "MIGRATING", idOf(to())});
    }

    /// Gives how many keys have gone.
    int moveKeys() {
        std::istringstream keys{from().command({"CLUSTER", "GETKEYSINSLOT", slot, "100"})};
        int moved = 0;
        for (std::string key; std::getline(keys, key); ++moved) {
            EXPECT_EQ(from().command({"MIGRATE", "127.0.0.1", std::to_string(to().port()), key, "0", "5000"}),
                      "OK");
            std::this_thread::sleep_for(std::chrono::milliseconds{5});
        }
        return moved;
    }

    void end() {
        for (std::size_t i = 0; i < RedisCluster::MASTERS; ++i) {
            cluster.node((target + i) % 3).command({"CLUSTER", "SETSLOT", slot, "NODE", idOf(to())});
        }
    }

    static std::string idOf(velk::testing::RedisServer& node) { return node.command({"CLUSTER", "MYID"}); }

    velk::testing::RedisServer& from() { return cluster.node(source); }
    velk::testing::RedisServer& to() { return cluster.node(target); }

    RedisCluster cluster;
    const std::size_t source{cluster.masterOf("tess:{berlin}:site")};
    const std::size_t target{(source + 1) % RedisCluster::MASTERS};
    const std::string slot{cluster.node(0).command({"CLUSTER", "KEYSLOT", "tess:{berlin}:site"})};
    const std::string url{"redis+cluster://" + cluster.addresses() + "/berlin"};
};

TEST_F(SlotMoveTest, EveryWriteArrivesOnceWhileASiteMovesToAnotherNode) {
    ::testing::internal::CaptureStderr();
    {
        NetworkClient writer{url, true, std::chrono::seconds{3}};
        NetworkClient listener{url, true, std::chrono::seconds{3}};
        const auto channel = writer.channel(RESULT);
        const auto results = listener.watch(channel);
        std::thread working{[&] {
            for (int i = 1; i <= COUNT; ++i) {
                writer.set(channel, std::to_string(i));
                std::this_thread::sleep_for(std::chrono::milliseconds{1});
            }
        }};
        results.waitForItem(qz::CValue{std::string{"20"}});
        begin();
        EXPECT_EQ(moveKeys(), 8);
        end();
        working.join();
        results.waitForItem(qz::CValue{std::to_string(COUNT)});
        EXPECT_TRUE(areNumbersUpTo(COUNT, results.all()));
        EXPECT_NE(to().command({"CLUSTER", "COUNTKEYSINSLOT", slot}), "0");
        EXPECT_EQ(writer.channels().getChannelCValue(channel), qz::CValue{std::to_string(COUNT)});
    }
    ::testing::internal::GetCapturedStderr();
}

} // namespace
} // namespace tessapi::network
