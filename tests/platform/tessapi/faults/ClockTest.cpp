#include "platform/tessapi/engine/Engine.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/StoreCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
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
    std::string file() const { return (folder / "tess.db").string(); }

    std::unique_ptr<ChildProcess> start(std::vector<std::string> words) const {
        words.insert(words.begin(), {VELK_FAULT_WORKER, "sqlite:" + file()});
        return std::make_unique<ChildProcess>(words, std::vector<std::string>{"VELK_CLOCK_FILE=" + clock()});
    }

    const velk::testing::TemporaryDirectory folder{scratch()};
};

TEST_F(ClockTest, NothingButTheStampsFollowsAWallClockThatJumpsByHours) {
    Tally tally{"jumps of the wall clock"};
    const auto store = Engine::open(StoreUrl{"sqlite:" + file()}, true);
    const auto follower = start({"follow", "daemon"});
    ASSERT_TRUE(follower->awaitOutput("ready"));
    std::vector<std::unique_ptr<ChildProcess>> writers;
    writers.push_back(start({"pace", "daemon", "200"}));
    writers.push_back(start({"pace", "other", "1000"}));
    std::minstd_rand random{seed()};
    for (; tally.tried < share(200); ++tally.tried) {
        setClock((static_cast<std::int64_t>(random() % 49) - 24) * HOUR);
        std::this_thread::sleep_for(std::chrono::milliseconds{50});
        tally.survived += problemTextOf(file()).empty() ? 1 : 0;
    }
    for (const auto& writer : writers) {
        EXPECT_EQ(writer->finish(), 0);
        EXPECT_EQ(writer->errors(), "");
    }
    store->setValue(store->findChannel(1, "Test.End"), qz::CValue{"end"});
    EXPECT_EQ(follower->finish(), 0) << follower->errors();
    EXPECT_EQ(follower->errors(), "");
    EXPECT_EQ(problemTextOf(file()), "");
    EXPECT_EQ(tally.survived, tally.tried);
    std::int64_t earliest = std::numeric_limits<std::int64_t>::max();
    std::int64_t latest = 0;
    std::int64_t read = 0;
    for (auto news = store->newsAfter(read); !news.changes.empty(); news = store->newsAfter(read)) {
        for (const auto& change : news.changes) {
            earliest = std::min(earliest, change.timeMs);
            latest = std::max(latest, change.timeMs);
        }
        read = news.upTo;
    }
    EXPECT_GT(latest - earliest, HOUR * 1000 / 2) << "the clock did not jump";
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
