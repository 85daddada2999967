#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/Faults.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace tessapi::faults {
namespace {

using std::chrono::milliseconds;

/// Somebody deletes or moves the file with the lock of the writers.
class DeletedLockTest : public ::testing::Test {
protected:
    std::string file() const { return (folder / "tess.db").string(); }
    std::string page() const { return file() + "-lock"; }

    std::shared_ptr<Engine> open() const { return Engine::open(StoreUrl{"sqlite:" + file()}, true); }

    /// Whether the lock is free for a program that starts now.
    bool isFree() const {
        bool free = false;
        std::thread{[&] {
            SharedPage late{page(), "store"};
            InterprocessLock lock{late, "store", milliseconds{20}};
            try {
                const InterprocessHold hold{lock};
                free = true;
            } catch (const boost::system::system_error&) {
                free = false;
            }
        }}.join();
        return free;
    }

    const velk::testing::TemporaryDirectory folder{scratch()};
};

TEST_F(DeletedLockTest, WhoTakesTheLockAfterThatTakesTheOneThatOthersTakeToo) {
    SharedPage early{page(), "store"};
    InterprocessLock lock{early, "store", milliseconds{1000}};
    { const InterprocessHold hold{lock}; }
    std::filesystem::remove(page());
    EXPECT_TRUE(isFree());
    {
        const InterprocessHold hold{lock};
        EXPECT_FALSE(isFree()) << "two writers at once";
    }
    EXPECT_TRUE(isFree());
}

TEST_F(DeletedLockTest, WhoTakesTheLockLaterThanItWasMovedTakesTheOneThatOthersTakeToo) {
    SharedPage early{page(), "store"};
    InterprocessLock lock{early, "store", milliseconds{1000}};
    { const InterprocessHold hold{lock}; }
    std::filesystem::rename(page(), folder / "moved");
    EXPECT_TRUE(isFree());
    std::this_thread::sleep_for(milliseconds{120}); // the path is followed ten times a second
    {
        const InterprocessHold hold{lock};
        EXPECT_FALSE(isFree()) << "two writers at once";
    }
    EXPECT_TRUE(isFree());
    EXPECT_TRUE(std::filesystem::exists(page()));
}

TEST_F(DeletedLockTest, ProgramsGoOnWorkingOnOneStoreWhenItsLockWasMoved) {
    const auto early = open();
    const auto channel = early->emplaceChannel(1, "PowerDistribution.Measure.Voltage");
    std::filesystem::rename(page(), folder / "moved");
    const auto late = open();
    early->setValue(channel, qz::CValue{1.0F}); // maybe under the lock that was moved
    EXPECT_EQ(late->valueOf(channel), qz::CValue{1.0F});
    std::this_thread::sleep_for(milliseconds{120});
    for (int round = 2; round < 20; ++round) {
        const auto& store = round % 2 == 0 ? early : late;
        const auto& other = round % 2 == 0 ? late : early;
        store->setValue(channel, qz::CValue{static_cast<float>(round)});
        EXPECT_EQ(other->valueOf(channel), qz::CValue{static_cast<float>(round)});
    }
}

TEST_F(DeletedLockTest, ProgramsGoOnWorkingOnOneStore) {
    const auto early = open();
    std::filesystem::remove(page());
    const auto late = open();
    for (int round = 0; round < 20; ++round) {
        const auto& store = round % 2 == 0 ? early : late;
        const auto& other = round % 2 == 0 ? late : early;
        store->setAttribute(1, 5, std::to_string(round));
        EXPECT_EQ(other->attribute(1, 5), std::to_string(round));
    }
    const auto seq = early->startOf({}).seq;
    late->setAttribute(1, 5, "news");
    EXPECT_EQ(early->newsAfter(seq).changes.size(), 1U);
}

} // namespace
} // namespace tessapi::faults
