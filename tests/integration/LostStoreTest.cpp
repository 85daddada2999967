// The real daemon with the simulated device, whose store goes away for good while it runs.

#include "testing/RedisServer.h"
#include "testing/TemporaryDirectory.h"
#include "tests/integration/SimulatedTest.h"
#include "tests/integration/StoreWatch.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>

namespace velk::testing {
namespace {

namespace fs = std::filesystem;

class LostStoreTest : public SimulatedTest {
protected:
    void start(const std::string& storeUrl) {
        url = storeUrl;
        startDaemon();
        awaitFilled();
        before = StoreWatch{url}.channels();
        ASSERT_GT(before.size(), 100U);
    }

    /// Until the device is in service, which is so only when all of it is in the store.
    void awaitFilled() {
        RedisServer::await("a store with the device", [&] {
            return run({"tess", "status"}) == 0 && output.find("connected since") != std::string::npos &&
                   output.find("in service") != std::string::npos;
        });
    }

    /// What one line on the standard error says, up to which this reads.
    void expectTold(const std::string& why) {
        ASSERT_TRUE(daemon->awaitErrors("; a new one begins in 1 s; it opens the store that is there then, "
                                        "and nothing else is to be done\n"))
            << daemon->errors();
        EXPECT_NE(daemon->errors().find("powerdistributiond: the run ended with an error: store " + url +
                                        ": " + why),
                  std::string::npos)
            << daemon->errors();
        EXPECT_NE(daemon->errors().find(", since 20"), std::string::npos) << daemon->errors();
        expectNoOtherLine();
    }

    /// Of the loss: the server may have been away before.
    void expectNoOtherLine() {
        std::istringstream lines{daemon->errors()};
        for (std::string line; std::getline(lines, line);) {
            EXPECT_TRUE(line.find("; a new one begins in") != std::string::npos ||
                        line.find("cannot be reached") != std::string::npos)
                << line;
        }
    }

    /// The same channels with the same types and triggers, a value wherever there was one, and alarms.
    void expectAllBack() {
        ASSERT_TRUE(daemon->awaitOutput("to MONITOR\n", 2)) << daemon->errors();
        awaitFilled();
        const auto after = StoreWatch{url}.channels();
        for (const auto& [path, channel] : before) {
            if (path.rfind("Daemon.", 0) == 0) {
                continue; // what happened is not known to a new store
            }
            const auto found = after.find(path);
            ASSERT_NE(found, after.end()) << path;
            EXPECT_EQ(found->second.type, channel.type) << path;
            EXPECT_EQ(found->second.initialized, channel.initialized) << path;
            EXPECT_EQ(found->second.alarmConfig, channel.alarmConfig) << path;
        }
        EXPECT_EQ(after.size(), before.size());
        mains("lost");
        RedisServer::await("the alarm", [&] {
            run({"tess", "alarms"});
            return output.find("Inputs.1.Status.InRange") != std::string::npos;
        });
        EXPECT_EQ(run({"tess", "do", "Outlets.8", "SwitchOff", "--yes"}), 0) << output;
        EXPECT_EQ(run({"tess", "explain", "Inputs.1.Measure.Voltage"}), 0) << output;
        EXPECT_EQ(output.find("no answer"), std::string::npos) << output;
        daemon->signal(SIGTERM);
        EXPECT_EQ(daemon->finish(), 0);
    }

    std::string file() const { return (directory / "tess.db").string(); }
    std::string keptUrl() const { return "sqlite:" + file() + "?working=" + memory.path().string(); }
    fs::path workingFile() const {
        for (const auto& entry : fs::directory_iterator{memory.path()}) {
            if (entry.path().extension() == ".db") {
                return entry.path();
            }
        }
        return {};
    }

    TemporaryDirectory memory;
    std::map<std::string, tessapi::ChannelRecord> before;
};

TEST_F(LostStoreTest, FileThatWasRemovedIsMadeAnewAndFilled) {
    start("sqlite:" + file());
    fs::remove(file());
    expectTold("the store's file was removed or replaced");
    expectAllBack();
}

TEST_F(LostStoreTest, FileThatWasReplacedIsFilled) {
    const std::string other = (directory / "other.db").string();
    tessapi::TessAccessor::open("other", "sqlite:" + other);
    start("sqlite:" + file());
    fs::rename(other, file());
    expectTold("the store's file was removed or replaced");
    expectAllBack();
}

TEST_F(LostStoreTest, FileInMemoryThatWasRemovedIsFilledFromTheDisk) {
    start(keptUrl());
    fs::remove(workingFile());
    expectTold("the store's file was removed or replaced");
    expectAllBack();
}

TEST_F(LostStoreTest, CopyOnDiskThatWasRemovedIsMadeAnew) {
    start(keptUrl());
    fs::remove(file());
    expectTold("the copy on disk was removed or replaced");
    expectAllBack();
    EXPECT_TRUE(fs::exists(file()));
}

TEST_F(LostStoreTest, CopyOnDiskThatWasReplacedIsWorkedOn) {
    const std::string other = (directory / "other.db").string();
    tessapi::TessAccessor::open("other", "sqlite:" + other + "?working=" + memory.path().string());
    start(keptUrl());
    fs::rename(other, file());
    expectTold("the copy on disk was removed or replaced");
    expectAllBack();
}

TEST_F(LostStoreTest, ServerThatCameBackEmptyIsFilled) {
    RedisServer server{{.appendOnly = true}};
    start("redis://" + server.address() + "/gateway-7");
    server.stop();
    server.forget();
    server.start();
    expectTold("the server has lost the store or has another one of its name; it has to be opened anew");
    expectAllBack();
}

TEST_F(LostStoreTest, ServerThatWasEmptiedWhileItRunsIsFilled) {
    RedisServer server{{.appendOnly = true}};
    start("redis://" + server.address() + "/gateway-7");
    server.command({"FLUSHALL"});
    expectTold("the server has lost ");
    expectAllBack();
}

TEST_F(LostStoreTest, FileThatIsMovedBackIsTheStoreStill) {
    start("sqlite:" + file());
    fs::rename(file(), directory / "aside.db");
    fs::rename(directory / "aside.db", file());
    mains("lost");
    RedisServer::await("the value",
                       [&] { return StoreWatch{url}.value("Inputs.1.Status.InRange") == qz::CValue{false}; });
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
    const std::string states = daemon->output();
    EXPECT_EQ(states.find("to MONITOR\n"), states.rfind("to MONITOR\n")) << "it began anew:\n" << states;
}

} // namespace
} // namespace velk::testing
