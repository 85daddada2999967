#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/Transaction.h"
#include "testing/TemporaryDirectory.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sqlite3.h>
#include <string>

namespace {

using tessapi::Database;
using tessapi::Statement;
using tessapi::Transaction;

/// A writer of this library beside a program that uses the database by itself.
class WriterLocksTest : public ::testing::Test {
protected:
    WriterLocksTest() : database{std::make_unique<Database>(path(), "store")} {
        database->execute("PRAGMA journal_mode=WAL; CREATE TABLE t(x INT)");
        sqlite3* opened = nullptr;
        sqlite3_open_v2(path().c_str(), &opened, SQLITE_OPEN_READWRITE, "unix");
        foreign.reset(opened);
        add();
        EXPECT_EQ(count(), 1);
    }

    std::string path() const { return (folder / "t.db").string(); }

    void add() {
        Transaction transaction{*database, Transaction::Kind::write};
        database->execute("INSERT INTO t VALUES(1)");
        transaction.commit();
    }

    int run(const char* sql) { return sqlite3_exec(foreign.get(), sql, nullptr, nullptr, nullptr); }

    /// As the other program sees it; negative when it cannot.
    int count() {
        int rows = -1;
        const auto note = [](void* to, int, char** columns, char**) {
            *static_cast<int*>(to) = std::stoi(columns[0]);
            return 0;
        };
        sqlite3_exec(foreign.get(), "SELECT count(*) FROM t", note, &rows, nullptr);
        return rows;
    }

    int checkpoint(int mode) {
        return sqlite3_wal_checkpoint_v2(foreign.get(), nullptr, mode, nullptr, nullptr);
    }

    std::string integrity() {
        Statement statement{*database, "PRAGMA integrity_check"};
        auto found = statement.with();
        return found.next() ? found.text(0) : "";
    }

    struct Closer {
        void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
    };
    const velk::testing::TemporaryDirectory folder;
    std::unique_ptr<Database> database;
    std::unique_ptr<sqlite3, Closer> foreign;
};

TEST_F(WriterLocksTest, NobodyElseWritesDuringATransaction) {
    {
        Transaction transaction{*database, Transaction::Kind::write};
        EXPECT_EQ(run("BEGIN IMMEDIATE"), SQLITE_BUSY);
        database->execute("INSERT INTO t VALUES(1)");
        EXPECT_EQ(run("INSERT INTO t VALUES(2)"), SQLITE_BUSY);
        EXPECT_EQ(count(), 1);
        transaction.commit();
        EXPECT_EQ(run("BEGIN IMMEDIATE; ROLLBACK"), SQLITE_OK);
    }
    EXPECT_EQ(count(), 2);
}

TEST_F(WriterLocksTest, ATransactionThatIsRolledBackOrFailsToBeginLeavesNoLock) {
    { const Transaction transaction{*database, Transaction::Kind::write}; }
    EXPECT_EQ(run("BEGIN IMMEDIATE"), SQLITE_OK);
    sqlite3_busy_timeout(database->handle(), 10);
    EXPECT_THROW(add(), boost::system::system_error);
    EXPECT_EQ(run("COMMIT"), SQLITE_OK);
    add();
    EXPECT_EQ(run("BEGIN IMMEDIATE; COMMIT"), SQLITE_OK);
    EXPECT_EQ(count(), 2);
}

TEST_F(WriterLocksTest, TheNextTransactionSeesWhatTheOtherProgramHasWritten) {
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(run("INSERT INTO t VALUES(2)"), SQLITE_OK);
        Transaction transaction{*database, Transaction::Kind::write};
        Statement statement{*database, "SELECT count(*) FROM t"};
        {
            auto found = statement.with();
            ASSERT_TRUE(found.next());
            EXPECT_EQ(found.integer(0), 2 * i + 2);
        }
        database->execute("INSERT INTO t VALUES(1)");
        transaction.commit();
    }
    EXPECT_EQ(count(), 101);
    EXPECT_EQ(integrity(), "ok");
}

TEST_F(WriterLocksTest, TheLogIsNotStartedAnewUnderATransactionAndACopyDoesNotDisturbIt) {
    for (int i = 0; i < 30; ++i) {
        add();
        Transaction transaction{*database, Transaction::Kind::write};
        database->execute("INSERT INTO t VALUES(1)");
        EXPECT_EQ(checkpoint(SQLITE_CHECKPOINT_TRUNCATE), SQLITE_BUSY);
        EXPECT_EQ(checkpoint(SQLITE_CHECKPOINT_PASSIVE), SQLITE_OK);
        database->execute("INSERT INTO t SELECT 1 FROM t LIMIT 100");
        transaction.commit();
        EXPECT_EQ(integrity(), "ok");
    }
    const int rows = count();
    EXPECT_EQ(checkpoint(SQLITE_CHECKPOINT_TRUNCATE), SQLITE_OK);
    EXPECT_EQ(count(), rows);
    EXPECT_EQ(integrity(), "ok");
}

TEST_F(WriterLocksTest, AReaderKeepsItsStateWhileOthersAreWrittenAndCopied) {
    EXPECT_EQ(run("BEGIN"), SQLITE_OK);
    EXPECT_EQ(count(), 1);
    for (int i = 0; i < 100; ++i) {
        add();
        database->checkpoint();
    }
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(run("COMMIT"), SQLITE_OK);
    EXPECT_EQ(count(), 101);
}

TEST_F(WriterLocksTest, ALogThatWasCopiedIsStartedAnewByTheNextWrite) {
    for (int i = 0; i < 20; ++i) {
        add();
    }
    const int before = database->checkpoint();
    add();
    EXPECT_LT(database->logFrames(), before);
    EXPECT_EQ(count(), 22);
}

TEST_F(WriterLocksTest, AWriterThatFindsNoIndexRecoversIt) {
    foreign.reset();
    database.reset();
    std::remove((path() + "-shm").c_str());
    database = std::make_unique<Database>(path(), "store");
    add();
    add();
    EXPECT_EQ(integrity(), "ok");
    sqlite3* opened = nullptr;
    sqlite3_open_v2(path().c_str(), &opened, SQLITE_OPEN_READWRITE, "unix");
    foreign.reset(opened);
    EXPECT_EQ(count(), 3);
}

} // namespace
