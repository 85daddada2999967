#pragma once

#include "platform/tessapi/StoreImage.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/StoreError.h"
#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <thread>

namespace tessapi::kept {

namespace names {
inline const std::string MEASURED{"PowerDistribution.Measure.Voltage"};
inline const std::string SETTING{"PowerDistribution.Setting.AutomaticSleepDelay"};
inline const std::string STATE{"PowerDistribution.Status.StoragePresent"};
} // namespace names

/// A store that is worked on in one folder and kept in another.
class KeptTest : public ::testing::Test {
protected:
    KeptTest() {
        std::filesystem::create_directory(disk());
        options.clock = &clock;
        options.longestWait = std::chrono::milliseconds{200};
        options.eventsKept = 100;
    }

    std::filesystem::path disk() const { return folder / "disk"; }
    std::filesystem::path memory() const { return folder / "run"; }
    std::string path() const { return (disk() / "tess.db").string(); }
    std::string simpleUrl() const { return "sqlite:" + path(); }
    std::string url() const { return simpleUrl() + "?working=" + memory().string(); }

    std::shared_ptr<Engine> open(const std::string& where, bool create = true) {
        auto store = Engine::open(StoreUrl{where}, create, options);
        awaitKeeper();
        return store;
    }
    std::shared_ptr<Engine> open() { return open(url()); }

    /// Returns when the keeper of the engine that was opened or written last waits for what comes next.
    void awaitKeeper() {
        while (clock.waits().size() <= waitsBefore) {
            std::this_thread::yield();
        }
        waitsBefore = clock.waits().size();
    }
    /// Lets so much time pass, and the keeper of the one engine that is open do what is due.
    void pass(std::chrono::seconds time) {
        for (auto passed = time.zero(); passed < time; passed += std::chrono::seconds{1}) {
            clock.awaitBlocked(1);
            clock.advance(std::chrono::seconds{1});
        }
        clock.awaitBlocked(1);
        waitsBefore = clock.waits().size();
    }
    /// After a write: the second in which what is kept soon is kept.
    void passMoment() {
        awaitKeeper();
        pass(std::chrono::seconds{1});
    }

    /// All of memory is gone.
    void boot() const { std::filesystem::remove_all(memory()); }

    /// What a power cut leaves at this moment: the store as a machine finds it that has the disk alone.
    std::shared_ptr<Engine> openAfterPowerCut() {
        const auto copy = folder / ("disk after cut " + std::to_string(++cuts));
        std::filesystem::create_directory(copy);
        for (const char* part : {"tess.db", "tess.db-wal"}) {
            if (std::filesystem::exists(disk() / part)) {
                std::filesystem::copy_file(disk() / part, copy / part);
            }
        }
        return open("sqlite:" + (copy / "tess.db").string());
    }

    void execute(const std::string& file, const std::string& sql) const {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sql << ": " << sqlite3_errmsg(database);
        sqlite3_close(database);
    }

    /// The only database in memory.
    std::string workingFile() const {
        for (const auto& entry : std::filesystem::directory_iterator{memory()}) {
            if (entry.path().extension() == ".db") {
                return entry.path().string();
            }
        }
        return "";
    }

    static void expectFault(StoreFault fault, const std::function<void()>& work,
                            const std::string& text = "") {
        try {
            work();
            ADD_FAILURE() << "no failure";
        } catch (const boost::system::system_error& failure) {
            EXPECT_EQ(failure.code(), (boost::system::error_code{static_cast<int>(fault), storeCategory()}))
                << failure.what();
            EXPECT_NE(std::string{failure.what()}.find(text), std::string::npos) << failure.what();
        }
    }

    const velk::testing::TemporaryDirectory folder;
    velk::testing::FakeClock clock{velk::testing::FakeClock::Passing::ByHand};
    Engine::Options options;
    std::size_t waitsBefore{0};
    int cuts{0};
};

} // namespace tessapi::kept
