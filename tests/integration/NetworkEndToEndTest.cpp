// The real daemon with the simulated device on a store of the network whose server crashes.

#include "testing/RedisServer.h"
#include "tests/integration/SimulatedTest.h"
#include "tests/integration/StoreWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <thread>

namespace velk::testing {
namespace {

const std::string modeOfDevice{"PowerDistribution.Status.Mode"};

class NetworkEndToEndTest : public SimulatedTest {
protected:
    void SetUp() override {
        url = "redis://" + server.address() + "/gateway-7";
        store = std::make_unique<StoreWatch>(url);
        startDaemon();
        ASSERT_TRUE(store->await("Inputs.1.Status.InRange", qz::CValue{true}));
    }

    /// As store->await, also while the server is just coming back.
    void await(const std::string& path, const qz::CValue& wanted) {
        RedisServer::await(path, [&] { return store->value(path) == wanted; });
    }

    RedisServer server{{.appendOnly = true}};
    std::unique_ptr<StoreWatch> store;
};

TEST_F(NetworkEndToEndTest, DaemonPollsOnWhileTheServerIsAwayAndTheStoreHasTheNewestValuesAfterIt) {
    const qz::CValue before = store->value(modeOfDevice);
    server.stop();
    mains("lost");
    std::this_thread::sleep_for(std::chrono::seconds{1});
    server.start();
    await("Inputs.1.Status.InRange", qz::CValue{false});
    RedisServer::await("another mode", [&] { return store->value(modeOfDevice) != before; });

    // And on: the same daemon, the other way round, and with a request of somebody.
    server.stop();
    server.start();
    mains("normal");
    await(modeOfDevice, before);
    EXPECT_EQ(run({"tess", "do", "Outlets.8", "SwitchOff", "--yes"}), 0) << output;
    await("Outlets.8.Status.SwitchedOn", qz::CValue{false});

    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
    const std::string states = daemon->output();
    EXPECT_EQ(states.find("to MONITOR\n"), states.rfind("to MONITOR\n")) << "it began anew:\n" << states;
    EXPECT_NE(daemon->errors().find(url), std::string::npos) << daemon->errors();
}

} // namespace
} // namespace velk::testing
