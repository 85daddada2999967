// The real daemon with the simulated device on a store of the network whose server crashes.

#include "testing/RedisServer.h"
#include "tests/integration/SimulatedTest.h"
#include "tests/integration/StoreWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

namespace velk::testing {
namespace {

const std::string modeOfDevice{"PowerDistribution.Status.Mode"};

class NetworkEndToEndTest : public SimulatedTest {
protected:
    void SetUp() override {
        std::filesystem::create_directory(directory / "run");
        url = "redis://" + server.address() + "/gateway-7";
        store = std::make_unique<StoreWatch>(url);
        startDaemon();
        ASSERT_TRUE(store->await("Inputs.1.Status.InRange", qz::CValue{true}));
    }

    /// The findings of `tess doctor` about what waits; its lines.
    std::string queue() {
        run({"tess", "doctor"});
        std::istringstream lines{output};
        std::string found;
        for (std::string line; std::getline(lines, line);) {
            found += line.find(" queue ") == std::string::npos ? "" : line + "\n";
        }
        return found;
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

TEST_F(NetworkEndToEndTest, DoctorTellsWhatTheDaemonKeepsWhileTheServerIsAway) {
    EXPECT_EQ(queue().rfind("ok ", 0), 0U) << output;
    server.stop();
    mains("lost");
    std::string found;
    RedisServer::await("what the daemon keeps", [&] {
        found = queue();
        return found.find(" values of ") != std::string::npos &&
               found.find(" channels for ") != std::string::npos;
    });
    EXPECT_EQ(found.rfind("problem ", 0), 0U) << found;
    EXPECT_NE(found.find("powerdistributiond (process " + std::to_string(daemon->pid()) + ") keeps "),
              std::string::npos)
        << found;
    EXPECT_NE(found.find(" channels for " + url + ", whose server it misses since 20"), std::string::npos)
        << found;
    EXPECT_EQ(found.find("nothing since"), std::string::npos) << found;
    EXPECT_EQ(found.find('\n'), found.size() - 1) << "one line for all that has the store open:\n" << found;
    server.start();
    RedisServer::await("the end of it", [&] { return queue().rfind("ok ", 0) == 0; });
    EXPECT_TRUE(std::filesystem::is_empty(directory / "run"));
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
}

TEST_F(NetworkEndToEndTest, NoteOfADaemonThatWasKilledInAnOutageCountsForNothing) {
    server.stop();
    RedisServer::await("what the daemon keeps",
                       [&] { return queue().find("powerdistributiond (process ") != std::string::npos; });
    daemon->signal(SIGKILL);
    daemon->finish();
    EXPECT_EQ(queue().rfind("note ", 0), 0U) << output;
    EXPECT_EQ(output.find("powerdistributiond (process "), std::string::npos) << output;
}

} // namespace
} // namespace velk::testing
