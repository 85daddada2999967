#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/engine/Engine.h"
#include "testing/TemporaryDirectory.h"
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

namespace tessapi::faults {
namespace {

using Failure = FaultDisk::Failure;

constexpr std::uint32_t BEFORE = 25; ///< calls that made the store
constexpr std::uint32_t DURING = 45; ///< the last call while the disk is bad
constexpr std::uint32_t AFTER = 50;  ///< the last call of all

/// A store whose disk fails at one call after the other.
class BadDiskTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto store = open(made.path());
        RandomWork work{*store, seed(), 0};
        for (std::uint32_t call = 1; call <= BEFORE; ++call) {
            work.perform(call);
        }
    }
    void TearDown() override { FaultDisk::instance().heal(); }

    static std::string urlOf(const std::filesystem::path& folder) {
        return "sqlite:" + (folder / "tess.db").string() + "?when-corrupt=set-aside";
    }

    static std::shared_ptr<Engine> open(const std::filesystem::path& folder) {
        Engine::Options options;
        options.framesToCopy = 30;
        options.restBeforeSync = std::chrono::milliseconds{1};
        return Engine::open(StoreUrl{urlOf(folder)}, true, options);
    }

    /// Whether `work` was done; what refuses it must name the store and the cause.
    template <class Work>
    static bool isDone(const std::filesystem::path& folder, Work work) {
        try {
            work();
            return true;
        } catch (const boost::system::system_error& failure) {
            const std::string text{failure.what()};
            EXPECT_EQ(text.rfind("store " + urlOf(folder) + ": ", 0), 0U) << text;
            EXPECT_NE(std::string{failure.code().category().name()}, "") << text;
            return false;
        }
    }

    /// Does calls while the disk is bad; those that were refused must have changed nothing.
    static std::shared_ptr<Engine> workOnBadDisk(const std::filesystem::path& folder, RandomWork& shadow) {
        std::shared_ptr<Engine> store;
        std::unique_ptr<Dispatcher> listener;
        isDone(folder, [&] { store = open(folder); });
        for (std::uint32_t call = BEFORE + 1; store && call <= DURING; ++call) {
            if (isDone(folder, [&] { RandomWork{*store, seed(), 0}.perform(call); })) {
                shadow.perform(call);
            }
        }
        return store;
    }

    bool survives(int nth, Failure failure, bool forGood, bool& reached) const {
        const velk::testing::TemporaryDirectory folder{scratch()};
        for (const std::string name : {"tess.db", "tess.db-wal"}) {
            std::filesystem::copy_file(made / name, folder / name);
        }
        const auto memory = Engine::open(StoreUrl{"memory:shadow"}, true);
        RandomWork shadow{*memory, seed(), 0};
        for (std::uint32_t call = 1; call <= BEFORE; ++call) {
            shadow.perform(call);
        }
        ::testing::internal::CaptureStderr();
        FaultDisk::instance().failAt(nth, failure, forGood);
        auto store = workOnBadDisk(folder.path(), shadow);
        reached = FaultDisk::instance().hasFailed();
        FaultDisk::instance().heal();
        if (!store) {
            store = open(folder.path());
        }
        for (std::uint32_t call = DURING + 1; call <= AFTER; ++call) {
            RandomWork{*store, seed(), 0}.perform(call);
            shadow.perform(call);
        }
        const auto found = RandomWork{*store, seed(), 0}.description();
        store.reset();
        const auto said = ::testing::internal::GetCapturedStderr();
        EXPECT_LE(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_EQ(found, shadow.description()) << "call " << nth << " of the disk failed";
        for (const auto& entry : std::filesystem::directory_iterator{folder.path()}) {
            EXPECT_EQ(entry.path().string().find("corrupt"), std::string::npos) << entry.path();
        }
        const auto problems = problemTextOf((folder / "tess.db").string());
        EXPECT_EQ(problems, "") << "call " << nth << " of the disk failed";
        return !HasFailure();
    }

    void tryAll(const std::string& kind, Failure failure, bool forGood) {
        Tally tally{kind};
        const int step = all() ? 1 : 10;
        bool reached = true;
        for (int nth = 1 + static_cast<int>(seed() % static_cast<std::uint32_t>(step));
             reached && !HasFailure(); nth += step) {
            tally.survived += survives(nth, failure, forGood, reached) ? 1 : 0;
            ++tally.tried;
        }
        EXPECT_EQ(tally.survived, tally.tried);
    }

    const velk::testing::TemporaryDirectory made{scratch()};
};

TEST_F(BadDiskTest, AnIoErrorAtAnyCallOfTheDiskRefusesOneCallAndLosesNothing) {
    tryAll("one I/O error", Failure::error, false);
}

TEST_F(BadDiskTest, AProgramThatEndsWhileTheDiskFailsSaysWhereTheRestIs) {
    auto& disk = FaultDisk::instance(); // from here on it is below each file that is opened
    Engine::Options options;
    options.restBeforeSync = std::chrono::hours{1};
    auto store = Engine::open(StoreUrl{urlOf(made.path())}, true, options);
    store->setAttribute(1, 5, "text");
    ::testing::internal::CaptureStderr();
    disk.failAt(1, Failure::error, true);
    store.reset();
    const auto said = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.rfind("WARNING - store " + urlOf(made.path()) + ": ", 0), 0U) << said;
    const auto rest = "; not tried again, as this program ends: what was changed last is in " +
                      (made / "tess.db-wal").string() + ", but a power cut may cost it; see to the disk\n";
    EXPECT_EQ(said.find(rest), said.size() - rest.size()) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
}

TEST_F(BadDiskTest, ADiskThatFailsForAWhileIsUsedAgainWhenItWorks) {
    tryAll("I/O errors for a while", Failure::error, true);
}

TEST_F(BadDiskTest, ADiskThatIsFullForAWhileIsUsedAgainWhenThereIsSpace) {
    tryAll("disk full for a while", Failure::full, true);
}

TEST_F(BadDiskTest, AShortWriteRefusesOneCallAndLosesNothing) {
    tryAll("one short write", Failure::shortWrite, false);
}

TEST_F(BadDiskTest, ShortWritesForAWhileLoseNothing) {
    tryAll("short writes for a while", Failure::shortWrite, true);
}

} // namespace
} // namespace tessapi::faults
