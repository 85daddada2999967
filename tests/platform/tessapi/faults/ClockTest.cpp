#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/WorkingFile.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/StoreCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tessapi::faults {
namespace {

using velk::testing::ChildProcess;

/// Programs whose wall clock the test sets while they run.
class ClockTest : public ::testing::Test {
protected:
    static constexpr std::int64_t HOUR = 3600;

    void SetUp() override { setClock(0); }

    void setClock(std::int64_t seconds) const {
        const int file = ::open(clock().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        ASSERT_EQ(::pwrite(file, &seconds, sizeof seconds, 0), static_cast<ssize_t>(sizeof seconds));
        ::close(file);
    }

    std::string clock() const { return (folder / "clock").string(); }
    std::string kept() const { return (folder / "tess.db").string(); }
    std::string work() const { return (folder / "work").string(); }
    std::string url() const {
        return "sqlite:" + kept() + (inMemory ? "?working=" + work() + "&keep=1" : "");
    }
    /// The database that the programs work on.
    std::string file() const { return inMemory ? WorkingFile::pathIn(work(), kept()) : kept(); }

    std::unique_ptr<ChildProcess> start(std::vector<std::string> words) const {
        words.insert(words.begin(), {VELK_FAULT_WORKER, url()});
        return std::make_unique<ChildProcess>(words, std::vector<std::string>{"VELK_CLOCK_FILE=" + clock()});
    }

    /// Lets the clock jump so often while programs write, follow and copy. All of them go by that clock.
    void jump(int jumps, Tally& tally) const;
    static void expectThatTimesJumped(Engine& store);

    const velk::testing::TemporaryDirectory folder{scratch()};
    bool inMemory{false};
};

void ClockTest::jump(int jumps, Tally& tally) const {
    const auto follower = start({"follow", "daemon"});
    ASSERT_TRUE(follower->awaitOutput("ready"));
    std::vector<std::unique_ptr<ChildProcess>> writers;
    writers.push_back(start({"pace", "daemon", "200"}));
    writers.push_back(start({"pace", "other", "1000"}));
    std::minstd_rand random{seed()};
    for (; tally.tried < jumps; ++tally.tried) {
        setClock((static_cast<std::int64_t>(random() % 49) - 24) * HOUR);
        std::this_thread::sleep_for(std::chrono::milliseconds{50});
        tally.survived += problemTextOf(file()).empty() ? 1 : 0;
    }
    const auto store = Engine::open(StoreUrl{url()}, true);
    for (const auto& writer : writers) {
        EXPECT_EQ(writer->finish(), 0);
        EXPECT_EQ(writer->errors(), "");
    }
    store->setValue(store->findChannel(1, "Test.End"), qz::CValue{"end"});
    EXPECT_EQ(follower->finish(), 0) << follower->errors();
    EXPECT_EQ(follower->errors(), "");
    EXPECT_EQ(problemTextOf(file()), "");
    EXPECT_EQ(tally.survived, tally.tried);
    expectThatTimesJumped(*store);
}

void ClockTest::expectThatTimesJumped(Engine& store) {
    std::int64_t earliest = std::numeric_limits<std::int64_t>::max();
    std::int64_t latest = 0;
    std::int64_t read = 0;
    for (auto news = store.newsAfter(read); !news.changes.empty(); news = store.newsAfter(read)) {
        for (const auto& change : news.changes) {
            earliest = std::min(earliest, change.timeMs);
            latest = std::max(latest, change.timeMs);
        }
        read = news.upTo;
    }
    EXPECT_GT(latest - earliest, HOUR * 1000 / 2) << "the clock did not jump";
}

TEST_F(ClockTest, NothingButTheStampsFollowsAWallClockThatJumpsByHours) {
    Tally tally{"jumps of the wall clock"};
    jump(share(200), tally);
}

TEST_F(ClockTest, LikewiseInMemoryAndEverythingIsCopiedToTheDiskInTime) {
    Tally tally{"jumps of the wall clock, worked on in memory"};
    inMemory = true;
    const auto began = std::chrono::steady_clock::now();
    jump(std::max(40, share(200)), tally);
    const auto time = std::chrono::steady_clock::now() - began;
    std::uint64_t copies = 0;
    {
        const auto copy = Engine::open(StoreUrl{url()}, false)->health().copy;
        EXPECT_EQ(copy->failure, "");
        copies = copy->copies;
    }
    EXPECT_GE(copies, 2U);
    EXPECT_LE(copies, 20 + 2 * static_cast<std::uint64_t>(time / std::chrono::seconds{1}))
        << "not once a second";
    std::filesystem::remove_all(work());
    const auto store = Engine::open(StoreUrl{url()}, false);
    EXPECT_EQ(store->valueOf(store->findChannel(1, "Test.End")), qz::CValue{"end"});
    tally.note = "copied " + std::to_string(copies) + " times";
}

TEST_F(ClockTest, AWaitForTheWritersLockEndsInTimeWhenTheClockWasSetAhead) {
    setClock(5 * HOUR);
    const auto waiter = start({"wait"});
    EXPECT_EQ(waiter->finish(), 0) << waiter->errors();
    EXPECT_NE(waiter->output().find("locked by another program for too long"), std::string::npos)
        << waiter->output();
}

} // namespace
} // namespace tessapi::faults
