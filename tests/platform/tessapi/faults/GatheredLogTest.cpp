#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/Transaction.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/FaultDisk.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using tessapi::Database;
using tessapi::Statement;
using tessapi::Transaction;
using tessapi::faults::FaultDisk;
using Event = FaultDisk::Event;
using Failure = FaultDisk::Failure;

constexpr std::size_t PAGE = 1024;
constexpr std::size_t FRAME = 24 + PAGE;

/// The log of a database as it comes to the disk.
class GatheredLogTest : public ::testing::Test {
protected:
    GatheredLogTest() : disk{FaultDisk::instance()}, database{path(), "store"} {
        database.execute("PRAGMA journal_mode=WAL; CREATE TABLE t(id INTEGER PRIMARY KEY, x BLOB, y INT)");
        write([this] { insert(1, 10); }); // begins the log
    }
    ~GatheredLogTest() override { disk.heal(); }

    std::string path() const { return (folder / "t.db").string(); }

    template <class Work>
    void write(Work work) {
        Transaction transaction{database, Transaction::Kind::write};
        work();
        transaction.commit();
    }

    void insert(int id, int size) {
        database.execute(("INSERT INTO t VALUES(" + std::to_string(id) + ", randomblob(" +
                          std::to_string(size) + "), " + std::to_string(id) + ")")
                             .c_str());
    }

    template <class Work>
    std::vector<Event> writesOf(Work work) {
        disk.record();
        work();
        std::vector<Event> writes;
        for (const auto& event : disk.recorded()) {
            if (event.kind == Event::Kind::write && event.file == "t.db-wal") {
                writes.push_back(event);
            }
        }
        return writes;
    }

    static std::int64_t numberIn(Database& of, const char* sql) {
        Statement statement{of, sql};
        auto run = statement.with();
        return run.next() ? run.integer(0) : -1;
    }

    static std::string textIn(Database& of, const char* sql) {
        Statement statement{of, sql};
        auto run = statement.with();
        return run.next() ? run.text(0) : "";
    }

    /// What a program finds that has nothing but the two files, as after a power cut.
    template <class Look>
    void afterCut(Look look) {
        const auto copy = folder / "copy";
        std::filesystem::create_directory(copy);
        for (const std::string name : {"t.db", "t.db-wal"}) {
            std::filesystem::copy_file(folder / name, copy / name,
                                       std::filesystem::copy_options::overwrite_existing);
        }
        std::filesystem::remove(copy / "t.db-shm");
        Database found{(copy / "t.db").string(), "copy"};
        EXPECT_EQ(textIn(found, "PRAGMA integrity_check"), "ok");
        look(found);
    }

    const velk::testing::TemporaryDirectory folder;
    FaultDisk& disk;
    Database database;
};

TEST_F(GatheredLogTest, ACommitIsOneWrite) {
    const auto writes = writesOf([this] { write([this] { insert(2, 5'000); }); });
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_GE(writes[0].bytes.size(), 5 * FRAME);
    EXPECT_EQ(writes[0].bytes.size() % FRAME, 0U);
    EXPECT_EQ((static_cast<std::size_t>(writes[0].offset) - 32) % FRAME, 0U);
}

TEST_F(GatheredLogTest, WhatIsRolledBackIsNotWritten) {
    const auto writes = writesOf([this] {
        const Transaction transaction{database, Transaction::Kind::write};
        insert(2, 5'000);
    });
    EXPECT_TRUE(writes.empty());
    EXPECT_EQ(numberIn(database, "SELECT count(*) FROM t"), 1);
}

TEST_F(GatheredLogTest, ALongCommitIsWrittenInPartsOfBoundedSize) {
    const auto writes = writesOf([this] { write([this] { insert(2, 1'000'000); }); });
    ASSERT_GE(writes.size(), 16U);
    for (const auto& one : writes) {
        EXPECT_LT(one.bytes.size(), 60 * 1024 + FRAME);
    }
    EXPECT_EQ(numberIn(database, "SELECT length(x) FROM t WHERE id = 2"), 1'000'000);
}

TEST_F(GatheredLogTest, LongCommitsOfTheLargestPagesAreWrittenToo) {
    const auto large = (folder / "large.db").string();
    Database pages{large, "large"};
    pages.execute("PRAGMA page_size=65536; PRAGMA journal_mode=WAL; CREATE TABLE t(x BLOB)");
    {
        Transaction transaction{pages, Transaction::Kind::write};
        pages.execute("INSERT INTO t VALUES(randomblob(2000000))");
        transaction.commit();
    }
    Database other{large, "other"};
    EXPECT_EQ(numberIn(other, "SELECT length(x) FROM t"), 2'000'000);
    EXPECT_EQ(numberIn(other, "PRAGMA page_size"), 65536);
    EXPECT_EQ(textIn(other, "PRAGMA integrity_check"), "ok");
}

TEST_F(GatheredLogTest, FramesThatATransactionHasWrittenBeforeItsEndAreReadAndWrittenOver) {
    // Pages go to the log early and are changed again, so that the checksums are made anew at the end.
    database.execute("PRAGMA cache_size=5; PRAGMA cache_spill=5");
    write([this] {
        for (int id = 2; id <= 300; ++id) {
            insert(id, 200);
        }
        database.execute("UPDATE t SET y = y + 1000");
        EXPECT_EQ(numberIn(database, "SELECT sum(y) FROM t"), 300 * 301 / 2 + 300'000);
        database.execute("UPDATE t SET y = y + 1000 WHERE id % 7 = 0");
    });
    const auto sum = 300 * 301 / 2 + 300'000 + 42'000;
    Database other{path(), "other"};
    EXPECT_EQ(numberIn(other, "SELECT sum(y) FROM t"), sum);
    afterCut([&](Database& found) { EXPECT_EQ(numberIn(found, "SELECT sum(y) FROM t"), sum); });
}

TEST_F(GatheredLogTest, FramesOfATransactionThatWasRolledBackDoNotComeOverThoseOfOthers) {
    database.execute("PRAGMA cache_size=5; PRAGMA cache_spill=5");
    Database other{path(), "other"};
    database.checkpoint();
    {
        const Transaction transaction{database, Transaction::Kind::write};
        for (int id = 2; id <= 200; ++id) {
            insert(id, 200);
        }
    }
    {
        Transaction transaction{other, Transaction::Kind::write};
        for (int id = 2; id <= 200; ++id) {
            other.execute(("INSERT INTO t VALUES(" + std::to_string(id) + ", zeroblob(200), 1)").c_str());
        }
        transaction.commit();
    }
    EXPECT_EQ(numberIn(database, "SELECT count(*) FROM t"), 200);
    EXPECT_EQ(textIn(other, "PRAGMA integrity_check"), "ok");
    afterCut([](Database& found) { EXPECT_EQ(numberIn(found, "SELECT count(*) FROM t"), 200); });
}

TEST_F(GatheredLogTest, ATransactionWritesNothingBeforeItsEnd) {
    const auto writes = writesOf([this] {
        const Transaction transaction{database, Transaction::Kind::write};
        for (int id = 2; id <= 3'000; ++id) {
            insert(id, 1'000);
        }
    });
    EXPECT_TRUE(writes.empty());
}

TEST_F(GatheredLogTest, WhatACommitHasReturnedForIsInTheFiles) {
    for (int id = 2; id < 30; ++id) {
        write([&] { insert(id, 40 * id); });
        afterCut([&](Database& found) { EXPECT_EQ(numberIn(found, "SELECT max(id) FROM t"), id); });
    }
}

TEST_F(GatheredLogTest, TheCommitWhoseWriteFailsIsTheOneThatIsRefused) {
    for (const auto failure : {Failure::error, Failure::full, Failure::shortWrite}) {
        {
            Transaction transaction{database, Transaction::Kind::write};
            insert(2, 5'000);
            disk.failAt(1, failure, true);
            EXPECT_THROW(transaction.commit(), boost::system::system_error);
            disk.heal();
        }
        Database other{path(), "other"};
        EXPECT_EQ(numberIn(other, "SELECT count(*) FROM t"), 1);
        afterCut([](Database& found) { EXPECT_EQ(numberIn(found, "SELECT count(*) FROM t"), 1); });
    }
    write([this] { insert(3, 5'000); });
    afterCut([](Database& found) { EXPECT_EQ(numberIn(found, "SELECT sum(id) FROM t"), 4); });
}

TEST_F(GatheredLogTest, AnotherConnectionSeesACommitWholeOrNotAtAll) {
    Database other{path(), "other"};
    Transaction transaction{database, Transaction::Kind::write};
    insert(2, 600'000); // a part of it is in the log by now
    insert(3, 5'000);
    EXPECT_EQ(numberIn(other, "SELECT count(*) FROM t"), 1);
    transaction.commit();
    EXPECT_EQ(numberIn(other, "SELECT count(*) FROM t"), 3);
}

TEST_F(GatheredLogTest, ALogThatIsStartedAnewIsWrittenLikewise) {
    database.checkpoint();
    const auto writes = writesOf([this] { write([this] { insert(2, 10); }); });
    ASSERT_EQ(writes.size(), 2U); // its own header first
    EXPECT_EQ(writes[0].bytes.size(), 32U);
    EXPECT_EQ(writes[1].offset, 32);
    afterCut([](Database& found) { EXPECT_EQ(numberIn(found, "SELECT count(*) FROM t"), 2); });
}

} // namespace
