#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Statement.h"
#include "tests/platform/tessapi/kept/KeptTest.h"

#include <stdexcept>

namespace tessapi::kept {
namespace {

using qz::CValue;

/// Where programs work and where it is kept, and that all of them agree on it.
class KeptPlaceTest : public KeptTest {
protected:
    std::string other() const { return simpleUrl() + "?working=" + (folder / "other").string(); }
};

TEST_F(KeptPlaceTest, ProgramsWorkInTheFolderAndNotOnTheDisk) {
    const auto store = open();
    EXPECT_EQ(store->health().file->path, workingFile());
    EXPECT_EQ(store->health().copy->path, path());
    EXPECT_EQ(store->health().engine, "sqlite");
    EXPECT_EQ(store->url(), url());
}

TEST_F(KeptPlaceTest, WithoutTheFolderInTheUrlProgramsFollowWhatTheKeptCopySays) {
    const auto first = open();
    const auto channel = first->emplaceChannel(1, names::MEASURED);
    const auto second = open(simpleUrl());
    second->setValue(channel, CValue{230.0F});
    EXPECT_EQ(first->valueOf(channel), CValue{230.0F});
    EXPECT_EQ(second->health().file->path, first->health().file->path);
}

TEST_F(KeptPlaceTest, AnotherFolderIsRefusedWhileAProgramWorks) {
    const auto store = open();
    expectFault(
        StoreFault::inUse, [&] { open(other()); }, (folder / "other").string());
    expectFault(
        StoreFault::inUse, [&] { open(other()); }, memory().string());
}

TEST_F(KeptPlaceTest, TheStoreMovesToAnotherFolderWhenNobodyWorksOnIt) {
    std::uint64_t channel = 0;
    {
        const auto store = open();
        channel = store->emplaceChannel(1, names::MEASURED);
        store->setValue(channel, CValue{230.0F});
    }
    {
        const auto store = open(other());
        EXPECT_EQ(store->valueOf(channel), CValue{230.0F});
        EXPECT_EQ(workingFile(), "") << "the former file is gone";
    }
    EXPECT_EQ(open(simpleUrl())->health().file->path.find(folder / "other"), 0U);
}

TEST_F(KeptPlaceTest, AProgramThatOnlyLooksFollowsWhateverItsUrlSays) {
    { const auto store = open(); }
    EXPECT_EQ(open(other(), false)->health().file->path, workingFile());
}

TEST_F(KeptPlaceTest, ASimpleStoreBecomesAKeptCopyWithAllThatIsInIt) {
    StoreImage before;
    std::uint64_t channel = 0;
    {
        const auto store = open(simpleUrl());
        channel = store->emplaceChannel(1, names::MEASURED);
        store->setValue(channel, CValue{230.0F});
        store->setAttribute(1, 5, "model");
        before = store->image();
    }
    {
        const auto store = open();
        EXPECT_TRUE(store->health().copy);
        EXPECT_EQ(store->valueOf(channel), CValue{230.0F});
    }
    boot();
    const auto after = open()->image();
    EXPECT_EQ(after.content.channels[0].writtenMs, before.content.channels[0].writtenMs);
    EXPECT_EQ(after.content.devices[0].attributes, before.content.devices[0].attributes);
    EXPECT_EQ(after.lastChannel, before.lastChannel);
}

TEST_F(KeptPlaceTest, ASimpleStoreThatAProgramWorksOnStaysOne) {
    const auto store = open(simpleUrl());
    expectFault(StoreFault::inUse, [&] { open(); });
    EXPECT_FALSE(open(simpleUrl())->health().copy);
}

TEST_F(KeptPlaceTest, ASimpleStoreThatSomethingElseHasOpenStaysOne) {
    { const auto store = open(simpleUrl()); }
    sqlite3* reader = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &reader), SQLITE_OK);
    sqlite3_exec(reader, "SELECT count(*) FROM device", nullptr, nullptr, nullptr);
    expectFault(StoreFault::inUse, [&] { open(); });
    sqlite3_close(reader);
    EXPECT_TRUE(open()->health().copy);
}

TEST_F(KeptPlaceTest, AProgramThatOnlyLooksLeavesASimpleStoreSimple) {
    { const auto store = open(simpleUrl()); }
    EXPECT_FALSE(open(url(), false)->health().copy);
}

TEST_F(KeptPlaceTest, WhatIsNotThereIsNotMadeUnasked) {
    expectFault(StoreFault::missing, [&] { open(url(), false); });
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(KeptPlaceTest, TheWorkingFileIsNoStoreByItself) {
    const auto store = open();
    expectFault(StoreFault::foreign, [&] { open("sqlite:" + workingFile()); });
}

TEST_F(KeptPlaceTest, ADatabaseOfAnotherProgramIsRefusedAndLeftAsItIs) {
    execute(path(), "CREATE TABLE precious(x); INSERT INTO precious VALUES(1)");
    expectFault(StoreFault::foreign, [&] { open(); });
    execute(path(), "SELECT x FROM precious");
}

TEST_F(KeptPlaceTest, AFolderThatIsGoneIsMadeAgainIfTheOneAboveIsThere) {
    { const auto store = open(); }
    boot();
    EXPECT_TRUE(open(simpleUrl())->health().copy);
}

TEST_F(KeptPlaceTest, AFolderWithoutTheOneAboveIsAFailureThatNamesIt) {
    const auto far = (folder / "not there" / "run").string();
    try {
        open(simpleUrl() + "?working=" + far);
        ADD_FAILURE() << "no failure";
    } catch (const boost::system::system_error& failure) {
        EXPECT_NE(std::string{failure.what()}.find(far), std::string::npos) << failure.what();
    }
    EXPECT_FALSE(std::filesystem::exists(path())) << "nothing was made";
}

TEST_F(KeptPlaceTest, AWorkingFileThatWasNotFilledToItsEndIsFilledAgain) {
    std::uint64_t channel = 0;
    {
        const auto store = open();
        channel = store->emplaceChannel(1, names::SETTING);
        store->setValue(channel, CValue{std::int32_t{5}});
    }
    execute(workingFile(), "DELETE FROM keeping; DELETE FROM channel");
    EXPECT_EQ(open()->valueOf(channel), CValue{std::int32_t{5}});
}

TEST_F(KeptPlaceTest, AKeptCopyThatWasReplacedIsTakenAndThatIsSaid) {
    std::uint64_t channel = 0;
    {
        const auto store = open();
        channel = store->emplaceChannel(1, names::SETTING);
        store->setValue(channel, CValue{std::int32_t{5}});
    }
    std::filesystem::copy_file(path(), folder / "backup.db");
    open()->setValue(channel, CValue{std::int32_t{6}});
    open()->setValue(channel, CValue{std::int32_t{7}});
    std::filesystem::copy_file(folder / "backup.db", path(),
                               std::filesystem::copy_options::overwrite_existing);
    std::filesystem::remove(path() + "-wal");
    ::testing::internal::CaptureStderr();
    const auto value = open()->valueOf(channel);
    const auto said = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(value, CValue{std::int32_t{5}});
    EXPECT_NE(said.find(path() + " was replaced"), std::string::npos) << said;
}

TEST_F(KeptPlaceTest, AFileThatEndsCleanlyIsAllThatOneNeedsToTakeAway) {
    std::uint64_t channel = 0;
    {
        const auto store = open();
        channel = store->emplaceChannel(1, names::MEASURED);
        store->setValue(channel, CValue{230.0F});
    }
    std::filesystem::create_directory(folder / "away");
    std::filesystem::copy_file(path(), folder / "away" / "tess.db");
    EXPECT_EQ(open("sqlite:" + (folder / "away" / "tess.db").string())->valueOf(channel), CValue{230.0F});
}

TEST_F(KeptPlaceTest, ARemovedWorkingFileIsTheEndForProgramsThatHaveItOpen) {
    const auto store = open();
    const auto channel = store->emplaceChannel(1, names::SETTING);
    std::filesystem::remove(workingFile());
    expectFault(StoreFault::disappeared, [&] { store->setValue(channel, CValue{std::int32_t{1}}); });
    const auto next = open();
    next->setValue(next->emplaceChannel(1, names::SETTING), CValue{std::int32_t{2}});
    expectFault(StoreFault::disappeared, [&] { store->valueOf(channel); });
}

TEST_F(KeptPlaceTest, AnIntervalOutOfBoundsIsRefusedByName) {
    for (const char* bad : {"keep=0", "keep=86401", "keep=", "keep=-5", "keep=1.5", "keep=abc", "keep"}) {
        try {
            StoreUrl{url() + "&" + bad};
            ADD_FAILURE() << bad;
        } catch (const std::invalid_argument& failure) {
            EXPECT_NE(std::string{failure.what()}.find(bad), std::string::npos) << failure.what();
        }
    }
    EXPECT_EQ(StoreUrl{url() + "&keep=1"}.valuesEvery(), std::chrono::seconds{1});
    EXPECT_EQ(StoreUrl{url() + "&keep=86400"}.valuesEvery(), std::chrono::seconds{86'400});
}

TEST_F(KeptPlaceTest, AnUnknownOptionIsRefusedByName) {
    for (const char* bad : {"?folder=/run", "?working=", "?"}) {
        EXPECT_THROW(StoreUrl{simpleUrl() + bad}, std::invalid_argument) << bad;
    }
}

/// A store of the version before: without what happened.
class FormerVersionTest : public KeptTest {
protected:
    void makeFormer() {
        {
            const auto store = open(simpleUrl());
            channel = store->emplaceChannel(1, names::SETTING);
            store->setValue(channel, CValue{std::int32_t{5}});
        }
        execute(path(), "DROP TABLE alarm_event; DROP TABLE write_record; PRAGMA user_version=1");
    }

    void expectWhole(Engine& store) const {
        EXPECT_EQ(store.valueOf(channel), CValue{std::int32_t{5}});
        store.recordWrite({});
        EXPECT_EQ(store.writeRecords(0, 10).size(), 1U);
        EXPECT_TRUE(store.alarmEvents(0, 10).empty());
    }

    std::uint64_t channel{0};
};

TEST_F(FormerVersionTest, IsBroughtUpToThisOne) {
    makeFormer();
    expectWhole(*open(simpleUrl()));
}

TEST_F(FormerVersionTest, BecomesAKeptCopyToo) {
    makeFormer();
    expectWhole(*open());
}

/// A file in memory that an earlier release has filled since the boot.
class FormerWorkingFileTest : public KeptTest {
protected:
    /// The channels that it kept soon.
    inline static const std::string FORMERLY_SOON{
        "(name GLOB 'PowerDistribution.Setting.*' OR name GLOB 'PowerDistribution.Specification.*'"
        " OR name GLOB 'System.*' OR (name GLOB 'PowerDistribution.Attribute.*'"
        " AND name <> 'PowerDistribution.Attribute.CurrentDate'))"};

    void makeFormer() {
        {
            const auto store = open();
            setting = store->emplaceChannel(1, names::SETTING);
            store->setValue(setting, CValue{std::int32_t{5}});
            link = store->emplaceChannel(1, "Daemon.Communication");
        }
        execute(workingFile(),
                "DROP INDEX channel_soon; CREATE INDEX channel_soon ON channel(id) WHERE " + FORMERLY_SOON);
    }

    std::uint64_t setting{0};
    std::uint64_t link{0};
};

TEST_F(FormerWorkingFileTest, KeepsSoonWhatThisReleaseDoesAndProgramsOfTheOtherOneStillFindTheirs) {
    makeFormer();
    const auto store = open();
    store->setValue(link, CValue{"[1]"});
    passMoment();
    EXPECT_EQ(openAfterPowerCut()->valueOf(link), CValue{"[1]"});
    execute(workingFile(), "SELECT id FROM channel INDEXED BY channel_soon WHERE " + FORMERLY_SOON +
                               " AND seq > (SELECT setting_seq FROM keeping)");
}

TEST_F(FormerWorkingFileTest, IsChangedOnce) {
    makeFormer();
    const auto changes = [this] {
        open().reset();
        Database working{workingFile(), "the store"};
        Statement statement{working, "PRAGMA schema_version"};
        auto run = statement.with();
        return run.next() ? run.integer(0) : -1;
    };
    const auto once = changes();
    EXPECT_EQ(changes(), once);
}

TEST_F(FormerWorkingFileTest, IsCopiedBeforeTheStoreMovesToAnotherFolder) {
    makeFormer();
    const auto store = open(simpleUrl() + "?working=" + (folder / "other").string());
    EXPECT_EQ(store->valueOf(setting), CValue{std::int32_t{5}});
}

} // namespace
} // namespace tessapi::kept
