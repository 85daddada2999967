#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/StoreError.h"
#include "testing/TemporaryDirectory.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sqlite3.h>
#include <string>

namespace {

using qz::CValue;
using tessapi::StoreFault;

const std::string COUNTER{"PowerDistribution.Status.Source"};

/// What an engine makes of the file that it works on.
class EngineFileTest : public ::testing::Test {
protected:
    std::string path() const { return (folder / "tess.db").string(); }
    std::string url() const { return "sqlite:" + path(); }

    std::shared_ptr<tessapi::Engine> open(bool create = true) const {
        return tessapi::Engine::open(tessapi::StoreUrl{url()}, create);
    }

    void execute(const std::string& sql) const {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(path().c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
        sqlite3_close(database);
    }

    std::ptrdiff_t filesInFolder() const {
        return std::distance(std::filesystem::directory_iterator{folder.path()}, {});
    }

    /// `work` fails for this reason, and says so with the name of the store.
    void expectFault(StoreFault fault, const std::function<void()>& work) const {
        try {
            work();
            ADD_FAILURE() << "no failure";
        } catch (const boost::system::system_error& failure) {
            EXPECT_EQ(failure.code(),
                      (boost::system::error_code{static_cast<int>(fault), tessapi::storeCategory()}))
                << failure.what();
            EXPECT_NE(std::string{failure.what()}.find(url()), std::string::npos) << failure.what();
        }
    }

    const velk::testing::TemporaryDirectory folder;
};

TEST_F(EngineFileTest, TheLogIsCopiedIntoTheFileWhileAProgramWritesWithoutAPause) {
    constexpr std::uint32_t FAR_MORE_THAN_NEEDED = 500'000;
    const auto engine = open();
    const auto channel = engine->emplaceChannel(1, COUNTER);
    const auto before = std::filesystem::file_size(path());
    std::uint32_t count = 0;
    while (std::filesystem::file_size(path()) == before && count < FAR_MORE_THAN_NEEDED) {
        engine->setValue(channel, CValue{++count});
    }
    EXPECT_LT(count, FAR_MORE_THAN_NEEDED);
}

TEST_F(EngineFileTest, TheLogStaysWhenTheStoreIsClosed) {
    open()->emplaceChannel(1, COUNTER);
    EXPECT_GT(std::filesystem::file_size(path() + "-wal"), 0U);
    EXPECT_NE(open()->findChannel(1, COUNTER), ~std::uint64_t{0});
}

TEST_F(EngineFileTest, AStoreThatIsRemovedWhileItIsOpenIsNoLongerWrittenOrRead) {
    const auto engine = open();
    const auto channel = engine->emplaceChannel(1, COUNTER);
    std::filesystem::remove(path());
    expectFault(StoreFault::disappeared, [&] { engine->setValue(channel, CValue{1U}); });
    expectFault(StoreFault::disappeared, [&] { engine->valueOf(channel); });
    expectFault(StoreFault::disappeared, [&] { engine->snapshot(); });
}

TEST_F(EngineFileTest, AStoreOfAnotherSchemaVersionIsRefused) {
    open();
    execute("PRAGMA user_version=99");
    expectFault(StoreFault::wrongVersion, [&] { open(); });
}

TEST_F(EngineFileTest, ADatabaseOfAnotherProgramIsRefusedAndLeftAsItIs) {
    execute("CREATE TABLE precious(x); INSERT INTO precious VALUES(1)");
    expectFault(StoreFault::foreign, [&] { open(); });
    execute("SELECT x FROM precious");
}

TEST_F(EngineFileTest, AnotherFileInTheSeatOfAStoreIsNotOverwrittenFromTheLog) {
    open()->emplaceChannel(1, COUNTER);
    ASSERT_TRUE(std::filesystem::exists(path() + "-wal"));
    const std::string text(4096, 'x');
    std::ofstream{path(), std::ios::trunc} << text;
    EXPECT_THROW(open(), boost::system::system_error);
    std::ifstream file{path()};
    EXPECT_EQ((std::string{std::istreambuf_iterator<char>{file}, {}}), text);
}

TEST_F(EngineFileTest, AFileWithoutContentIsAStoreThatWasNotFinished) {
    std::ofstream{path()};
    expectFault(StoreFault::missing, [&] { open(false); });
    EXPECT_FALSE(open()->uuidOf(1).isNil());
}

TEST_F(EngineFileTest, NothingIsLeftBesideAFileThatIsNoStore) {
    const auto expectRefusal = [&](const std::string& kind) {
        for (const char* rest : {"", "?when-corrupt=set-aside"}) {
            for (const bool create : {false, true}) {
                EXPECT_THROW(tessapi::Engine::open(tessapi::StoreUrl{url() + rest}, create),
                             boost::system::system_error)
                    << kind << rest;
            }
        }
        EXPECT_EQ(filesInFolder(), 1) << kind;
        std::filesystem::remove(path());
    };
    std::ofstream{path()} << "127.0.0.1 localhost\n";
    expectRefusal("a short text");
    std::ofstream{path()} << std::string(4096, 'x');
    expectRefusal("a long text");
    execute("CREATE TABLE precious(x)");
    expectRefusal("a database");
    execute("PRAGMA journal_mode=WAL; CREATE TABLE precious(x)");
    expectRefusal("a database with a log");
    execute("PRAGMA application_id=7");
    expectRefusal("a database without tables");
}

TEST_F(EngineFileTest, NothingIsLeftBesideAFileWithoutContentThatIsNotToBecomeAStore) {
    std::ofstream{path()};
    expectFault(StoreFault::missing, [&] { open(false); });
    EXPECT_EQ(filesInFolder(), 1);
    execute("PRAGMA user_version=0; VACUUM");
    expectFault(StoreFault::missing, [&] { open(false); });
    EXPECT_EQ(filesInFolder(), 1);
    EXPECT_FALSE(open()->uuidOf(1).isNil());
}

TEST_F(EngineFileTest, AFileThatAPowerCutHasTornIsRecoveredByItsJournal) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database,
                           "PRAGMA cache_size=1; BEGIN; CREATE TABLE first(x);"
                           "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 99)"
                           "INSERT INTO first SELECT zeroblob(2000) FROM n",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    ASSERT_GT(std::filesystem::file_size(path()), 0U) << "nothing was written before the commit";
    std::filesystem::copy_file(path() + "-journal", path() + ".saved");
    sqlite3_close(database);
    std::filesystem::rename(path() + ".saved", path() + "-journal");
    std::ofstream{path(), std::ios::trunc} << std::string(4096, 'x');
    EXPECT_FALSE(open()->uuidOf(1).isNil());
}

TEST_F(EngineFileTest, AFolderIsNoStore) {
    std::filesystem::create_directory(path());
    expectFault(StoreFault::foreign, [&] { open(); });
}

TEST_F(EngineFileTest, WhatIsNotThereIsNotMadeUnasked) {
    expectFault(StoreFault::missing, [&] { open(false); });
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

} // namespace
