#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/InterprocessLock.h"
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
#include <fstream>
#include <linux/futex.h>
#include <memory>
#include <random>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace tessapi::faults {
namespace {

using std::chrono::milliseconds;
using velk::testing::ChildProcess;
using SteadyClock = std::chrono::steady_clock;

/// Programs that are stopped (SIGSTOP) at any moment but within a write, and those that write meanwhile.
class StoppedProgramsTest : public ::testing::Test {
protected:
    static constexpr std::int64_t LONGEST_WAIT_MS = 250;

    std::string kept() const { return (folder / "tess.db").string(); }
    std::string work() const { return (folder / "work").string(); }
    std::string url() const {
        return "sqlite:" + kept() + (inMemory ? "?working=" + work() + "&keep=1" : "");
    }
    /// The database that the programs work on.
    std::string file() const { return inMemory ? WorkingFile::pathIn(work(), kept()) : kept(); }

    std::unique_ptr<ChildProcess> start(std::vector<std::string> words) const {
        words.insert(words.begin(), {VELK_FAULT_WORKER, url()});
        auto program = std::make_unique<ChildProcess>(words);
        EXPECT_TRUE(program->awaitOutput("ready")) << program->errors();
        return program;
    }

    static void stop(const ChildProcess& program) {
        program.signal(SIGSTOP);
        int status = 0;
        ASSERT_EQ(::waitpid(program.pid(), &status, WUNTRACED), program.pid());
        ASSERT_TRUE(WIFSTOPPED(status)) << status;
    }

    /// Of a program that is stopped.
    static bool holds(const ChildProcess& program, const pthread_mutex_t& mutex) {
        const auto holder = static_cast<unsigned int>(mutex.__data.__lock) & FUTEX_TID_MASK;
        const auto threads = "/proc/" + std::to_string(program.pid()) + "/task/";
        return holder != 0 && std::filesystem::exists(threads + std::to_string(holder));
    }

    static bool isAsleep(const ChildProcess& program) {
        std::ifstream file{"/proc/" + std::to_string(program.pid()) + "/stat"};
        std::string number, name, state;
        file >> number >> name >> state;
        return state == "S";
    }

    /// Stops one program after the other outside a write, and writes beside each.
    void stopPrograms(int stops, Tally& tally) const;

    const velk::testing::TemporaryDirectory folder{scratch()};
    bool inMemory{false};
};

TEST_F(StoppedProgramsTest, ALockThatIsGivenToAStoppedProgramIsFoundByTheNextOne) {
    SharedPage page{file() + "-lock", "store"};
    InterprocessLock lock{page, "store", std::chrono::seconds{20}};
    const auto stopped = [&] {
        const InterprocessHold hold{lock};
        auto program = start({"queue"});
        while (!holds(*program, page.words().turns[0]) || !isAsleep(*program)) {
            std::this_thread::sleep_for(milliseconds{1});
        }
        stop(*program);
        return program;
    }();
    EXPECT_NO_THROW(InterprocessHold{lock});
    stopped->signal(SIGCONT);
    EXPECT_EQ(stopped->finish(), 0) << stopped->errors();
}

void StoppedProgramsTest::stopPrograms(int stops, Tally& tally) const {
    constexpr int PROGRAMS = 4;
    constexpr int WRITES = 20;
    const auto store = Engine::open(StoreUrl{url()}, true);
    SharedPage page{file() + "-lock", "store"};
    const auto channel = store->emplaceChannel(1, "Test.Text");
    std::vector<std::unique_ptr<ChildProcess>> programs;
    for (int i = 0; i < PROGRAMS; ++i) {
        programs.push_back(start({"roam", std::to_string(seed() + static_cast<std::uint32_t>(i))}));
    }
    std::mt19937 random{seed()};
    int inTurn = 0;
    std::int64_t longest = 0;
    while (tally.tried < stops || inTurn == 0) {
        const auto& program = *programs[random() % PROGRAMS];
        std::this_thread::sleep_for(std::chrono::microseconds{random() % 10'000});
        stop(program);
        if (!holds(program, page.words().lock)) {
            ++tally.tried;
            for (const auto& turn : page.words().turns) {
                inTurn += holds(program, turn) ? 1 : 0;
            }
            std::int64_t longestHere = 0;
            for (int i = 0; i < WRITES; ++i) {
                const auto began = SteadyClock::now();
                EXPECT_NO_THROW(store->setValue(channel, qz::CValue{std::to_string(i)}));
                longestHere =
                    std::max<std::int64_t>(longestHere, (SteadyClock::now() - began) / milliseconds{1});
            }
            tally.survived += longestHere <= LONGEST_WAIT_MS ? 1 : 0;
            longest = std::max(longest, longestHere);
        }
        program.signal(SIGCONT);
    }
    programs.clear();
    EXPECT_EQ(problemTextOf(file()), "");
    // How long a program waits for a processor is the machine's affair, unless it has nothing else to do.
    EXPECT_LE(longest, all() ? LONGEST_WAIT_MS : 3000);
    tally.note = std::to_string(inTurn) + " of them next in turn to write, the longest write took " +
                 std::to_string(longest) + " ms";
}

TEST_F(StoppedProgramsTest, AProgramThatIsStoppedOutsideAWriteKeepsNoWriterWaiting) {
    Tally tally{"programs stopped outside a write"};
    stopPrograms(share(300), tally);
}

TEST_F(StoppedProgramsTest, LikewiseInMemoryAlsoInTheMiddleOfACopyToTheDisk) {
    Tally tally{"programs stopped outside a write, worked on in memory"};
    inMemory = true;
    stopPrograms(share(300), tally);
}

} // namespace
} // namespace tessapi::faults
