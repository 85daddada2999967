// The real daemon with the simulated device on a store of the network whose server crashes.

#include "testing/ChildProcess.h"
#include "testing/RedisServer.h"
#include "testing/TemporaryDirectory.h"
#include "tests/integration/StoreWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velk::testing {
namespace {

const std::string modeOfDevice{"PowerDistribution.Status.Mode"};

class NetworkEndToEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::ofstream{directory / "velk.json"}
            << R"({"maxRestTimeMs": 100, "protocolLibraries": [")" << VELK_SIMULATOR_PLUGIN
            << R"("], "simulator": {"device": "ups-1ph", "control": "sim.sock"}})";
        store = std::make_unique<StoreWatch>(url);
        daemon = std::make_unique<ChildProcess>(
            std::vector<std::string>{VELK_BINARY_DIR "/bin/powerdistributiond", "--config",
                                     (directory / "velk.json").string()},
            std::vector<std::string>{"TESS_URL=" + url});
        ASSERT_TRUE(daemon->awaitOutput("to MONITOR\n")) << daemon->errors();
        ASSERT_TRUE(store->await("Inputs.1.Status.InRange", qz::CValue{true}));
    }

    int run(std::vector<std::string> words) {
        words.front() = VELK_BINARY_DIR "/bin/" + words.front();
        ChildProcess program{words, {"TESS_URL=" + url}};
        const int code = program.finish();
        output = program.output() + program.errors();
        return code;
    }

    void device(const std::string& state) {
        ASSERT_EQ(run({"simctl", (directory / "sim.sock").string(), "mains", state}), 0) << output;
    }

    /// As store->await, also while the server is just coming back.
    void await(const std::string& path, const qz::CValue& wanted) {
        RedisServer::await(path, [&] { return store->value(path) == wanted; });
    }

    TemporaryDirectory directory;
    RedisServer server{{.appendOnly = true}};
    const std::string url{"redis://" + server.address() + "/gateway-7"};
    std::unique_ptr<StoreWatch> store;
    std::unique_ptr<ChildProcess> daemon;
    std::string output;
};

TEST_F(NetworkEndToEndTest, DaemonPollsOnWhileTheServerIsAwayAndTheStoreHasTheNewestValuesAfterIt) {
    const qz::CValue before = store->value(modeOfDevice);
    server.stop();
    device("lost");
    std::this_thread::sleep_for(std::chrono::seconds{1});
    server.start();
    await("Inputs.1.Status.InRange", qz::CValue{false});
    RedisServer::await("another mode", [&] { return store->value(modeOfDevice) != before; });

    // And on: the same daemon, the other way round, and with a request of somebody.
    server.stop();
    server.start();
    device("normal");
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
