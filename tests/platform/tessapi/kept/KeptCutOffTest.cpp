#include "platform/tessapi/engine/FileLock.h"
#include "platform/tessapi/engine/Schema.h"
#include "tests/platform/tessapi/kept/KeptTest.h"

#include <array>
#include <sys/wait.h>
#include <unistd.h>

namespace tessapi::kept {
namespace {

using qz::CValue;

namespace fs = std::filesystem;

/// What programs leave that were killed, or cut off from their power, at an unlucky moment.
class KeptCutOffTest : public KeptTest {
protected:
    struct Closer {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    using Handle = std::unique_ptr<sqlite3, Closer>;

    static Handle connect(const std::string& file) {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        return Handle{database};
    }

    static void run(const Handle& database, const std::string& sql) {
        EXPECT_EQ(sqlite3_exec(database.get(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sql << ": " << sqlite3_errmsg(database.get());
    }

    /// A statement whose commit stays in the log, as when its program is killed.
    static void leaveInLog(const std::string& file, const std::string& sql) {
        const Handle database = connect(file);
        sqlite3_db_config(database.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        run(database, sql);
    }

    static std::string journalOf(const std::string& file) {
        const Handle database = connect(file);
        std::string mode;
        sqlite3_exec(
            database.get(), "PRAGMA journal_mode",
            [](void* text, int, char** columns, char**) {
                *static_cast<std::string*>(text) = columns[0];
                return 0;
            },
            &mode, nullptr);
        return mode;
    }

    std::uint64_t makeWithSetting(const std::string& where, std::int32_t value) {
        const auto store = open(where);
        const auto channel = store->emplaceChannel(1, names::SETTING);
        store->setValue(channel, CValue{value});
        return channel;
    }
};

TEST_F(KeptCutOffTest, AMoveWhoseLogWasNotCopiedLeadsAllProgramsToOnePlace) {
    const auto channel = makeWithSetting(url(), 5);
    const auto other = (folder / "other").string();
    leaveInLog(path(), "UPDATE kept SET working = '" + other + "', identity = identity + 1, copies = 0");
    ASSERT_GT(fs::file_size(path() + "-wal"), 0U);
    const auto first = open(simpleUrl());
    first->setValue(channel, CValue{std::int32_t{200}});
    const auto second = open(simpleUrl());
    EXPECT_EQ(second->health().file->path, first->health().file->path);
    EXPECT_EQ(second->valueOf(channel), CValue{std::int32_t{200}});
}

TEST_F(KeptCutOffTest, AWorkingFileWithoutALogGetsOneAgain) {
    makeWithSetting(url(), 5);
    execute(workingFile(), "PRAGMA journal_mode=DELETE");
    const auto store = open();
    EXPECT_EQ(journalOf(workingFile()), "wal");
}

TEST_F(KeptCutOffTest, ACopyWithoutALogGetsOneAgain) {
    makeWithSetting(url(), 5);
    execute(path(), "PRAGMA journal_mode=DELETE");
    { const auto store = open(); }
    EXPECT_EQ(journalOf(path()), "wal");
}

TEST_F(KeptCutOffTest, AWorkingFileOfAnotherBootIsFilledFromTheDisk) {
    const auto channel = makeWithSetting(url(), 5);
    execute(workingFile(), "UPDATE keeping SET boot = 'another'; UPDATE channel SET value = NULL");
    EXPECT_EQ(open()->valueOf(channel), CValue{std::int32_t{5}});
}

TEST_F(KeptCutOffTest, AConversionThatWasCutOffInItsCommitIsBegunAgain) {
    const auto channel = makeWithSetting(simpleUrl(), 5);
    {
        const auto file = connect(path());
        run(file,
            "PRAGMA journal_mode=DELETE; BEGIN; PRAGMA application_id=" + std::to_string(Schema::KEPT_ID));
        ASSERT_EQ(sqlite3_db_cacheflush(file.get()), SQLITE_OK);
        fs::create_directory(folder / "cut");
        fs::copy_file(path(), folder / "cut" / "tess.db");
        fs::copy_file(path() + "-journal", folder / "cut" / "tess.db-journal");
    }
    const auto cut = "sqlite:" + (folder / "cut" / "tess.db").string();
    EXPECT_EQ(open(cut + "?working=" + memory().string())->valueOf(channel), CValue{std::int32_t{5}});
}

TEST_F(KeptCutOffTest, AStoreThatEndsLongAfterItsLastChangeIsAllInItsFile) {
    std::uint64_t channel = 0;
    {
        const auto store = open(url() + "&keep=1");
        channel = store->emplaceChannel(1, names::MEASURED);
        store->setValue(channel, CValue{230.0F});
        awaitKeeper();
        pass(std::chrono::seconds{5});
        EXPECT_GT(fs::file_size(path() + "-wal"), 0U) << "it was copied before the end";
    }
    fs::create_directory(folder / "away");
    fs::copy_file(path(), folder / "away" / "tess.db");
    EXPECT_EQ(open("sqlite:" + (folder / "away" / "tess.db").string())->valueOf(channel), CValue{230.0F});
}

TEST_F(KeptCutOffTest, AProcessThatWasForkedOffDoesNotKeepALockThatItsMakerEnds) {
    const auto file = (folder / "lock").string();
    auto lock = std::make_unique<FileLock>(file, "store");
    ASSERT_TRUE(lock->tryAlone());
    std::array<int, 2> gate{};
    ASSERT_EQ(::pipe(gate.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char byte = 0;
        ::close(gate[1]);
        const auto read = ::read(gate[0], &byte, 1); // until the test has ended its side
        ::_exit(static_cast<int>(read));
    }
    lock.reset();
    EXPECT_TRUE((FileLock{file, "store"}.tryAlone()));
    ::close(gate[1]);
    ::close(gate[0]);
    ::waitpid(child, nullptr, 0);
}

} // namespace
} // namespace tessapi::kept
