#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/stress/Acknowledged.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sqlite3.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using tessapi::TessAccessor;
using velk::common::Uuid;
using velk::testing::ChildProcess;

const std::string CHANNEL{"PowerDistribution.Status.Source"};

/// Several programs on one store: two writers, one that makes and removes devices and one that copies the log
/// are killed again and again; one writer and one watcher live to the end.
class StoreKillTest : public ::testing::Test {
protected:
    static constexpr int KILLS = 60;
    static constexpr std::uint32_t SURVIVOR_WRITES = 20'000;

    std::string path(const std::string& name) const { return (folder / name).string(); }
    std::string url() const { return "sqlite:" + path("tess.db"); }

    std::unique_ptr<ChildProcess> start(std::vector<std::string> words) const {
        words.insert(words.begin(), {VELK_STRESS_WORKER, url()});
        return std::make_unique<ChildProcess>(words);
    }

    std::unique_ptr<ChildProcess> startVictim(std::size_t number) const {
        if (number == 2) {
            return start({"churn"});
        }
        if (number == 3) {
            return start({"copy", path("tess.db")});
        }
        const auto name = "victim " + std::to_string(number);
        return start({"write", name, path(name)});
    }

    /// Kills victims at random moments, each with the failure that it may have met before.
    void killAndRestart() {
        std::minstd_rand random{20260101};
        std::vector<std::unique_ptr<ChildProcess>> victims;
        for (std::size_t number = 0; number < 4; ++number) {
            victims.push_back(startVictim(number));
        }
        for (int kill = 0; kill < KILLS; ++kill) {
            std::this_thread::sleep_for(std::chrono::milliseconds{5 + random() % 60});
            const std::size_t number = random() % victims.size();
            victims[number]->signal(SIGKILL);
            EXPECT_EQ(victims[number]->finish(), 128 + SIGKILL);
            EXPECT_EQ(victims[number]->errors(), "");
            victims[number] = startVictim(number);
        }
        for (auto& victim : victims) {
            victim->signal(SIGKILL);
            EXPECT_EQ(victim->finish(), 128 + SIGKILL);
            EXPECT_EQ(victim->errors(), "");
        }
    }

    static std::string integrityOf(const std::string& file) {
        sqlite3* database = nullptr;
        std::string verdict{"not opened"};
        if (sqlite3_open(file.c_str(), &database) == SQLITE_OK) {
            const auto note = [](void* text, int, char** columns, char**) {
                *static_cast<std::string*>(text) = columns[0];
                return 0;
            };
            sqlite3_exec(database, "PRAGMA integrity_check", note, &verdict, nullptr);
        }
        sqlite3_close(database);
        return verdict;
    }

    /// The numbers that the watcher was told of, by channel, in their order.
    std::map<std::uint64_t, std::vector<std::uint32_t>> watched() const {
        std::map<std::uint64_t, std::vector<std::uint32_t>> found;
        std::ifstream log{path("log")};
        std::uint64_t channel = 0;
        std::uint32_t number = 0;
        while (log >> channel >> number) {
            found[channel].push_back(number);
        }
        return found;
    }

    const velk::testing::TemporaryDirectory folder;
};

std::vector<std::uint32_t> countTo(std::uint32_t last) {
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t number = 1; number <= last; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

TEST_F(StoreKillTest, KilledProgramsLoseNothingThatWasAcknowledgedAndHarmNobody) {
    const auto watcher = start({"watch", path("log")});
    ASSERT_TRUE(watcher->awaitOutput("watching"));
    const auto survivor = start({"write", "survivor", path("survivor"), std::to_string(SURVIVOR_WRITES)});
    killAndRestart();
    ASSERT_EQ(survivor->finish(), 0) << survivor->errors();

    const auto store = TessAccessor::open("test", url(), false);
    auto& channels = store->inbandAccessor();
    const auto channelOf = [&](const std::string& name) {
        return channels.getCatchedChannelId(store->deviceIdOf(Uuid{Uuid::VELK_NAMESPACE, name}), CHANNEL);
    };
    channels.setChannelCValue(channelOf("end"), qz::CValue{1U});
    ASSERT_EQ(watcher->finish(), 0) << watcher->errors();
    EXPECT_EQ(watcher->errors(), "");

    const auto seen = watched();
    for (const std::string name : {"survivor", "victim 0", "victim 1"}) {
        const auto stored = channels.getChannelCValue(channelOf(name)).as_uint32();
        const auto acknowledged = tessapi::stress::Acknowledged{path(name)}.get();
        EXPECT_GT(acknowledged, 0U) << name;
        EXPECT_GE(stored, acknowledged) << name;
        EXPECT_LE(stored, acknowledged + 1) << name; // written, and killed before it was told so
        EXPECT_TRUE(seen.at(channelOf(name)) == countTo(stored)) << name;
    }
    EXPECT_EQ(channels.getChannelCValue(channelOf("survivor")).as_uint32(), SURVIVOR_WRITES);
    EXPECT_EQ(integrityOf(path("tess.db")), "ok");
}

} // namespace
