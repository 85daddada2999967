#include "platform/tessapi/engine/InterprocessLock.h"

#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/Wakeup.h"
#include "testing/TemporaryDirectory.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using std::chrono::milliseconds;
using tessapi::InterprocessHold;
using tessapi::InterprocessLock;
using tessapi::SharedPage;
using tessapi::Wakeup;

class InterprocessLockTest : public ::testing::Test {
protected:
    std::string file() const { return (folder / "tess.db-lock").string(); }

    const velk::testing::TemporaryDirectory folder;
};

TEST_F(InterprocessLockTest, OneHolderAtATimeOverAllPages) {
    constexpr int THREADS = 3;
    constexpr int ROUNDS = 500;
    std::atomic<int> holders{0};
    std::atomic<int> most{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number) {
        threads.emplace_back([&] {
            SharedPage page{file(), "store"};
            InterprocessLock lock{page, "store", milliseconds{30'000}};
            for (int round = 0; round < ROUNDS; ++round) {
                InterprocessHold hold{lock};
                most = std::max(most.load(), ++holders);
                --holders;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(most, 1);
}

TEST_F(InterprocessLockTest, AHolderThatStaysIsReportedWithTheStoreAndTheCause) {
    SharedPage page{file(), "store"};
    InterprocessLock lock{page, "sqlite:/x", milliseconds{1}};
    const InterprocessHold hold{lock};
    std::thread{[&] {
        try {
            lock.lock();
            lock.unlock();
            ADD_FAILURE() << "two holders";
        } catch (const boost::system::system_error& failure) {
            EXPECT_EQ(failure.code().value(), static_cast<int>(tessapi::StoreFault::locked));
            EXPECT_EQ(std::string{failure.code().category().name()}, "tess");
            const std::string text = failure.what();
            EXPECT_NE(text.find("sqlite:/x"), std::string::npos) << text;
            EXPECT_NE(text.find("locked by another program for too long"), std::string::npos) << text;
        }
    }}.join();
}

TEST_F(InterprocessLockTest, AHolderThatDiedFreesTheLock) {
    SharedPage page{file(), "store"};
    InterprocessLock lock{page, "store", milliseconds{1000}};
    for (int death = 0; death < 3; ++death) {
        std::thread{[&]() VELK_NO_THREAD_SAFETY_ANALYSIS { lock.lock(); }}.join();
    }
    EXPECT_NO_THROW(InterprocessHold{lock});
}

/// As programs do that were stopped while they waited, each with a turn.
class StoppedWaiters {
public:
    StoppedWaiters(SharedPage::Words& words, std::size_t count) {
        std::promise<void> taken;
        thread = std::thread{[this, &words, &taken, count] {
            for (std::size_t i = 0; i < count; ++i) {
                pthread_mutex_lock(&words.turns[i]);
            }
            taken.set_value();
            end.get_future().wait();
            for (std::size_t i = 0; i < count; ++i) {
                pthread_mutex_unlock(&words.turns[i]);
            }
        }};
        taken.get_future().wait();
    }
    ~StoppedWaiters() {
        end.set_value();
        thread.join();
    }
    StoppedWaiters(const StoppedWaiters&) = delete;
    StoppedWaiters& operator=(const StoppedWaiters&) = delete;

private:
    std::promise<void> end;
    std::thread thread;
};

TEST_F(InterprocessLockTest, WaitersThatWereStoppedArePassedOver) {
    for (std::size_t count = 1; count <= SharedPage::TURNS; ++count) {
        SharedPage page{file(), "store"};
        InterprocessLock lock{page, "store", milliseconds{30'000}};
        const StoppedWaiters stopped{page.words(), count};
        EXPECT_NO_THROW(InterprocessHold{lock}) << count;
    }
}

TEST_F(InterprocessLockTest, WhoHasPassedOverAWaiterHoldsTheLockAloneLikeEverybody) {
    SharedPage page{file(), "store"};
    const StoppedWaiters stopped{page.words(), SharedPage::TURNS};
    InterprocessLock lock{page, "store", milliseconds{1000}};
    const InterprocessHold hold{lock};
    std::thread{[&] {
        InterprocessLock other{page, "store", milliseconds{1}};
        EXPECT_THROW(InterprocessHold{other}, boost::system::system_error);
    }}.join();
}

TEST_F(InterprocessLockTest, APageOfAnotherBootIsMadeAnew) {
    const std::string nonsense(sizeof(SharedPage::Words), '\xff');
    std::ofstream{file()} << nonsense;
    SharedPage page{file(), "store"};
    InterprocessLock lock{page, "store", milliseconds{1000}};
    EXPECT_NO_THROW(InterprocessHold{lock});
}

TEST_F(InterprocessLockTest, AFolderThatIsNotThereIsAFailureThatNamesTheStore) {
    try {
        SharedPage page{(folder / "missing" / "lock").string(), "sqlite:/x"};
        ADD_FAILURE() << "no failure";
    } catch (const boost::system::system_error& failure) {
        EXPECT_EQ(failure.code(), boost::system::errc::no_such_file_or_directory);
        EXPECT_NE(std::string{failure.what()}.find("sqlite:/x"), std::string::npos);
    }
}

TEST_F(InterprocessLockTest, ASignalAfterTheTicketEndsTheWaitAtOnce) {
    SharedPage one{file(), "store"};
    SharedPage other{file(), "store"};
    Wakeup listener{one};
    Wakeup writer{other};
    const auto ticket = listener.ticket();
    writer.signal();
    listener.wait(ticket, std::chrono::hours{1});
    EXPECT_NE(listener.ticket(), ticket);
}

TEST_F(InterprocessLockTest, ASignalWakesASleeperOnAnotherPage) {
    SharedPage one{file(), "store"};
    Wakeup listener{one};
    const auto ticket = listener.ticket();
    std::thread sleeper{[&] {
        while (listener.ticket() == ticket) {
            listener.wait(ticket, std::chrono::hours{1});
        }
    }};
    SharedPage other{file(), "store"};
    Wakeup{other}.signal();
    sleeper.join();
}

} // namespace
