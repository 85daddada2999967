#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/LogBound.h"
#include "platform/tessapi/engine/WorkingFile.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/StoreCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace tessapi::faults {
namespace {

using velk::testing::ChildProcess;

/// Many programs on one store, one of which stands still in the middle of a read.
class CrowdTest : public ::testing::Test {
protected:
    static constexpr int WRITERS = 5;
    static constexpr int READERS = 20;
    static constexpr std::int64_t LONGEST_WAIT_MS = 250;
    /// What makes the programs copy the log, and at most as much again while the copy is made.
    static std::uintmax_t bound() { return LogBound::TIMES * 1024 * (all() ? 8192 : 512); }
    static std::uintmax_t largestLog() { return 2 * bound(); }

    std::string kept() const { return (folder / "tess.db").string(); }
    std::string work() const { return (folder / "work").string(); }
    std::string url() const {
        return "sqlite:" + kept() + (inMemory ? "?working=" + work() + "&keep=1" : "");
    }
    /// The database that the programs work on.
    std::string file() const { return inMemory ? WorkingFile::pathIn(work(), kept()) : kept(); }

    std::unique_ptr<ChildProcess> start(std::vector<std::string> words) const {
        words.insert(words.begin(), {VELK_FAULT_WORKER, url()});
        return std::make_unique<ChildProcess>(words);
    }

    void startCrowd() {
        writers.push_back(start({"pace", "daemon", "0"}));
        for (int i = 0; i < WRITERS; ++i) {
            writers.push_back(start({"pace", "writer " + std::to_string(i), "10000"}));
        }
        for (int i = 0; i < READERS; ++i) {
            readers.push_back(start({"look", "50000"}));
        }
    }

    std::uintmax_t logSize() const {
        std::error_code none;
        const auto size = std::filesystem::file_size(file() + "-wal", none);
        return none ? 0 : size;
    }

    /// The greatest size of the log in this time.
    std::uintmax_t watchLog(std::chrono::seconds time) const {
        std::uintmax_t largest = 0;
        const auto end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end) {
            largest = std::max(largest, logSize());
            std::this_thread::sleep_for(std::chrono::milliseconds{5});
        }
        return largest;
    }

    static void awaitStop(const ChildProcess& program) {
        int status = 0;
        ASSERT_EQ(::waitpid(program.pid(), &status, WUNTRACED), program.pid());
        ASSERT_TRUE(WIFSTOPPED(status)) << status;
    }

    /// Ends a program and gives the two numbers that it says.
    static std::pair<std::uint64_t, std::int64_t> end(ChildProcess& program) {
        program.closeInput();
        EXPECT_EQ(program.finish(), 0) << program.errors();
        std::istringstream said{program.output()};
        std::uint64_t first = 0;
        std::int64_t second = 0;
        EXPECT_TRUE(said >> first >> second) << program.output();
        return {first, second};
    }

    /// One program is stopped for so long while all others read and write.
    void stopOneFor(std::chrono::seconds time, Tally& tally);

    const velk::testing::TemporaryDirectory folder{scratch()};
    bool inMemory{false};
    std::vector<std::unique_ptr<ChildProcess>> writers;
    std::vector<std::unique_ptr<ChildProcess>> readers;
};

void CrowdTest::stopOneFor(std::chrono::seconds time, Tally& tally) {
    const auto store = Engine::open(StoreUrl{url()}, true);
    const auto stopped = start({"stop"});
    ASSERT_TRUE(stopped->awaitOutput("ready"));
    startCrowd();
    EXPECT_LT(watchLog(std::chrono::seconds{1}), largestLog());
    stopped->write("go\n");
    awaitStop(*stopped);
    const auto largest = watchLog(time);
    EXPECT_GT(largest, bound()) << "it never came to the bound";
    EXPECT_LT(largest, largestLog());
    stopped->signal(SIGCONT);
    EXPECT_TRUE(stopped->awaitOutput("read ")) << stopped->errors();

    std::uint64_t calls = 0;
    std::int64_t longest = 0;
    for (const auto& writer : writers) {
        const auto [written, wait] = end(*writer);
        EXPECT_EQ(writer->errors(), "");
        calls += written;
        longest = std::max(longest, wait);
        ++tally.tried;
        tally.survived += wait <= LONGEST_WAIT_MS ? 1 : 0;
    }
    for (const auto& reader : readers) {
        const auto [reads, heard] = end(*reader);
        EXPECT_GT(reads, 0U);
        EXPECT_GT(heard, 0);
        ++tally.tried;
        ++tally.survived;
    }
    store->setValue(store->findChannel(1, "Test.End"), qz::CValue{"end"});
    EXPECT_EQ(stopped->finish(), 0) << stopped->errors();
    EXPECT_NE(stopped->output().find("caught up"), std::string::npos);
    EXPECT_NE(stopped->errors().find("fell behind the store"), std::string::npos) << stopped->errors();
    ++tally.tried;
    tally.survived += HasFailure() ? 0 : 1;
    EXPECT_EQ(problemTextOf(file()), "");
    // How long a program waits for a processor is the machine's affair, unless it has nothing else to do.
    EXPECT_LE(longest, all() ? LONGEST_WAIT_MS : 3000);
    tally.note = std::to_string(calls) + " writes, the longest took " + std::to_string(longest) +
                 " ms, the log had at most " + std::to_string(largest >> 10U) + " KiB";
}

TEST_F(CrowdTest, AProgramThatIsStoppedWhileItReadsKeepsNobodyWaitingAndTheLogBounded) {
    Tally tally{"programs beside one that is stopped in a read"};
    stopOneFor(std::chrono::seconds{all() ? 60 : 3}, tally);
}

TEST_F(CrowdTest, LikewiseInMemoryWhileMeasuredValuesAreCopiedToTheDisk) {
    Tally tally{"programs beside one that is stopped in a read, worked on in memory"};
    inMemory = true;
    stopOneFor(std::chrono::seconds{all() ? 20 : 3}, tally);
    // What was written last is on the disk, now that all have ended.
    std::filesystem::remove_all(work());
    const auto store = Engine::open(StoreUrl{url()}, false);
    EXPECT_EQ(store->valueOf(store->findChannel(1, "Test.End")), qz::CValue{"end"});
}

} // namespace
} // namespace tessapi::faults
