#include "daemon/StoreWatch.h"

#include "platform/tessapi/TessAccessor.h"
#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace velk::daemon {
namespace {

using velk::common::Mutex;
using velk::common::MutexLock;
using velk::testing::FakeClock;

class StoreWatchTest : public ::testing::Test {
protected:
    std::string file() const { return (folder / "tess.db").string(); }
    std::string url() const { return "sqlite:" + file(); }

    void watch() {
        watching.emplace(
            [this] {
                ++opened;
                if (failing) {
                    throw std::runtime_error{"no store"};
                }
                return tessapi::TessAccessor::open("watch", url());
            },
            [this](const std::string& what) {
                const MutexLock lock{mutex};
                told = what;
                changed.notify_all();
            },
            clock);
        clock.awaitBlocked(1);
    }

    void look() { clock.advance(StoreWatch::PERIOD); }

    std::string awaitTold() {
        MutexLock lock{mutex};
        while (told.empty() &&
               changed.wait_for(lock, std::chrono::seconds{30}) == std::cv_status::no_timeout) {
        }
        return told;
    }

    velk::testing::TemporaryDirectory folder;
    FakeClock clock{FakeClock::Passing::ByHand};
    std::atomic<bool> failing{false};
    std::atomic<int> opened{0};
    Mutex mutex;
    std::condition_variable_any changed;
    std::string told VELK_GUARDED_BY(mutex);
    std::optional<StoreWatch> watching; // last: its thread uses the others
};

TEST_F(StoreWatchTest, FileThatWasRemovedIsToldAtTheSecondLookWithStoreAndTime) {
    watch();
    std::filesystem::remove(file());
    look();
    clock.awaitBlocked(1);
    {
        const MutexLock lock{mutex};
        EXPECT_EQ(told, "") << "at the first look";
    }
    look();
    const std::string text = awaitTold();
    EXPECT_EQ(text.rfind("store " + url() + ": the store's file was removed or replaced", 0), 0U) << text;
    EXPECT_NE(text.find(", since 20"), std::string::npos) << text;
}

TEST_F(StoreWatchTest, FileThatIsBackAtTheSecondLookIsTheStoreStill) {
    tessapi::TessAccessor::open("maker", url());
    std::filesystem::create_hard_link(file(), folder / "aside");
    watch();
    for (int time = 0; time < 2; ++time) {
        std::filesystem::remove(file()); // a name less, so that it is noticed at once
        look();
        clock.awaitBlocked(1);
        std::filesystem::create_hard_link(folder / "aside", file());
        look();
        clock.awaitBlocked(1);
    }
    const MutexLock lock{mutex};
    EXPECT_EQ(told, "");
}

TEST_F(StoreWatchTest, StoreThatCannotBeOpenedIsTriedAgainAndNotTakenForLost) {
    failing = true;
    watch();
    look();
    clock.awaitBlocked(1);
    EXPECT_EQ(opened, 2);
    failing = false;
    look();
    clock.awaitBlocked(1);
    look();
    clock.awaitBlocked(1);
    EXPECT_EQ(opened, 3) << "it is opened once";
    const MutexLock lock{mutex};
    EXPECT_EQ(told, "");
}

class CopySeatTest : public ::testing::Test {
protected:
    CopySeatTest() { write("tess.db"); }

    std::string write(const std::string& name) const {
        std::ofstream{folder / name} << name;
        return (folder / name).string();
    }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(CopySeatTest, FileThatIsInItsPlaceIsNotLost) {
    const CopySeat seat{write("tess.db")};
    EXPECT_FALSE(seat.isLost());
    write("tess.db");
    EXPECT_FALSE(seat.isLost()) << "written to";
}

TEST_F(CopySeatTest, FileThatWasRemovedIsLost) {
    const CopySeat seat{write("tess.db")};
    std::filesystem::remove(folder / "tess.db");
    EXPECT_TRUE(seat.isLost());
    write("tess.db");
    EXPECT_TRUE(seat.isLost()) << "this is another one";
}

TEST_F(CopySeatTest, FileThatAnotherOneTookTheNameOfIsLost) {
    const CopySeat seat{write("tess.db")};
    write("other.db");
    std::filesystem::rename(folder / "tess.db", folder / "aside.db");
    std::filesystem::rename(folder / "other.db", folder / "tess.db");
    EXPECT_TRUE(seat.isLost());
}

TEST_F(CopySeatTest, FolderThatIsAwayTakesTheFileWithItAndDoesNotLoseIt) {
    std::filesystem::create_directory(folder / "disk");
    const CopySeat seat{write("disk/tess.db")};
    std::filesystem::rename(folder / "disk", folder / "elsewhere");
    EXPECT_FALSE(seat.isLost());
    std::filesystem::rename(folder / "elsewhere", folder / "disk");
    EXPECT_FALSE(seat.isLost());
}

TEST_F(CopySeatTest, WithoutAFileNothingIsLost) {
    EXPECT_FALSE(CopySeat{}.isLost());
    EXPECT_FALSE(CopySeat{(folder / "none").string()}.isLost());
    CopySeat seat{(folder / "tess.db").string()};
    seat = CopySeat{};
    std::filesystem::remove(folder / "tess.db");
    EXPECT_FALSE(seat.isLost());
}

} // namespace
} // namespace velk::daemon
