#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/WorkingFile.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/FastClock.h"
#include "tests/platform/tessapi/faults/FaultDisk.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/RandomWork.h"
#include "tests/platform/tessapi/faults/StoreCheck.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace tessapi::faults {
namespace {

using Failure = FaultDisk::Failure;
using std::chrono::milliseconds;

/// A store that is worked on in memory, and whose disk fails at one call after the other.
class BadCopyTest : public ::testing::Test {
protected:
    static constexpr std::uint32_t BEFORE = 25; ///< calls that made the store
    static constexpr std::uint32_t DURING = 35; ///< the last call while the disk is bad
    static constexpr std::uint32_t AFTER = 40;  ///< the last call of all

    void TearDown() override { FaultDisk::instance().heal(); }

    /// One store, at one call of the disk.
    struct Trial {
        Trial() {
            auto store = open();
            work(*store, 1, BEFORE);
        }

        std::filesystem::path work() const { return folder / "work"; }
        std::string url() const {
            return "sqlite:" + (folder / "tess.db").string() + "?working=" + work().string() + "&keep=1";
        }
        std::shared_ptr<Engine> open() const {
            static FastClock clock{50};
            Engine::Options options;
            options.clock = &clock;
            options.framesToCopy = 30;
            options.restBeforeSync = milliseconds{1} * 50;
            return Engine::open(StoreUrl{url()}, true, options);
        }
        void work(Engine& store, std::uint32_t first, std::uint32_t last) {
            for (auto call = first; call <= last; ++call) {
                RandomWork{store, seed(), 0}.perform(call);
                shadow.perform(call);
                if (first > BEFORE) { // a copy for each call, so that there is much that can fail
                    await([&store] { return isCopiedOrFails(store); }, milliseconds{500});
                }
            }
        }
        static bool isCopiedOrFails(Engine& store) {
            const auto copy = store.health().copy;
            return copy->pendingChanges == 0 || !copy->failure.empty();
        }
        /// As after a boot of the machine.
        void loseMemory() const { std::filesystem::remove_all(work()); }

        const velk::testing::TemporaryDirectory folder{scratch()};
        const std::shared_ptr<Engine> memory{Engine::open(StoreUrl{"memory:shadow"}, true)};
        RandomWork shadow{*memory, seed(), 0};
    };

    template <class Condition>
    static bool await(Condition condition, milliseconds longest) {
        const auto end = std::chrono::steady_clock::now() + longest;
        while (!condition() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::microseconds{200});
        }
        return condition();
    }

    /// What a program can do while the disk is bad: an open store takes every call.
    static std::shared_ptr<Engine> workOnBadDisk(Trial& trial) {
        std::shared_ptr<Engine> store;
        try {
            store = trial.open();
        } catch (const boost::system::system_error& failure) {
            const std::string text{failure.what()};
            EXPECT_EQ(text.rfind("store " + trial.url() + ": ", 0), 0U) << text;
            return nullptr;
        }
        EXPECT_NO_THROW(trial.work(*store, BEFORE + 1, DURING));
        return store;
    }

    static bool survives(int nth, Failure failure, bool forGood, bool& reached) {
        Trial trial;
        if (nth % 2 == 0) {
            trial.loseMemory();
        }
        ::testing::internal::CaptureStderr();
        auto& disk = FaultDisk::instance();
        disk.failAt(nth, failure, forGood, "tess.db");
        auto store = workOnBadDisk(trial);
        const auto isNoted = [&store] { return !store->health().copy->failure.empty(); };
        reached = disk.hasFailed();
        const bool isTold = store && reached && forGood;
        EXPECT_TRUE(!isTold || await(isNoted, milliseconds{5000})) << "call " << nth << " of the disk failed";
        disk.heal();
        if (!store) {
            store = trial.open();
            trial.work(*store, BEFORE + 1, DURING);
        }
        trial.work(*store, DURING + 1, AFTER);
        EXPECT_TRUE(await([&isNoted] { return !isNoted(); }, milliseconds{5000})) << "it does not recover";
        store.reset();
        const auto said = ::testing::internal::GetCapturedStderr();
        const auto lines = std::count(said.begin(), said.end(), '\n');
        EXPECT_LE(lines, 1) << said;
        EXPECT_TRUE(!isTold || lines == 1) << "it was told nobody";
        trial.loseMemory();
        const auto found = trial.open();
        EXPECT_EQ((RandomWork{*found, seed(), 0}.description()), trial.shadow.description())
            << "call " << nth << " of the disk failed";
        const auto file = WorkingFile::pathIn(trial.work().string(), (trial.folder / "tess.db").string());
        EXPECT_EQ(problemTextOf(file), "") << "call " << nth << " of the disk failed";
        return !HasFailure();
    }

    static void tryAll(const std::string& kind, Failure failure, bool forGood) {
        Tally tally{kind + ", worked on in memory"};
        const int step = all() ? 1 : 40;
        bool reached = true;
        for (int nth = 1 + static_cast<int>(seed() % static_cast<std::uint32_t>(step));
             reached && !HasFailure(); nth += step) {
            tally.survived += survives(nth, failure, forGood, reached) ? 1 : 0;
            ++tally.tried;
        }
        EXPECT_EQ(tally.survived, tally.tried);
    }
};

TEST_F(BadCopyTest, AnIoErrorAtAnyCallOfTheDiskLosesNothing) {
    tryAll("one I/O error", Failure::error, false);
}

TEST_F(BadCopyTest, ADiskThatFailsForAWhileStopsNobodyAndGetsEverythingWhenItWorks) {
    tryAll("I/O errors for a while", Failure::error, true);
}

TEST_F(BadCopyTest, ADiskThatIsFullForAWhileStopsNobodyAndGetsEverythingWhenThereIsSpace) {
    tryAll("disk full for a while", Failure::full, true);
}

TEST_F(BadCopyTest, AShortWriteLosesNothing) {
    tryAll("one short write", Failure::shortWrite, false);
}

TEST_F(BadCopyTest, ShortWritesForAWhileLoseNothing) {
    tryAll("short writes for a while", Failure::shortWrite, true);
}

} // namespace
} // namespace tessapi::faults
