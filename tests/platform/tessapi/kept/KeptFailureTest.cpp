#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/FileLock.h"
#include "platform/tessapi/engine/Statement.h"
#include "testing/FullDisk.h"
#include "testing/StoreLoad.h"
#include "tests/platform/tessapi/WriterProcess.h"
#include "tests/platform/tessapi/kept/KeptTest.h"

namespace tessapi::kept {
namespace {

using contract::WriterProcess;
using qz::CValue;
using std::chrono::seconds;

/// A disk that is away or full, programs that are killed, and how much is written.
class KeptFailureTest : public KeptTest {
protected:
    static std::size_t countOf(const std::string& text, const std::string& part) {
        std::size_t count = 0;
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            ++count;
        }
        return count;
    }

    /// What `work` says on the standard error is one line about the store, however often it is tried.
    void expectOneWarning(const std::function<void()>& work) {
        ::testing::internal::CaptureStderr();
        work();
        const auto said = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(countOf(said, "WARNING - store " + url()), 1U) << said;
        EXPECT_EQ(countOf(said, "; tried again until it works\n"), 1U) << said;
    }

    /// What a store that nobody has open says of why it is not copied.
    std::string noted() const {
        Database working{workingFile(), "the store"};
        Statement statement{working, "SELECT failure FROM keeping"};
        auto run = statement.with();
        return run.next() ? run.text(0) : "nothing was said";
    }

    /// Another program that counts in a setting; what it printed is acknowledged.
    WriterProcess writer(int last) const {
        return WriterProcess{{url(), "count", "device", COUNTER, "1", std::to_string(last)}};
    }
    static CValue counterIn(Engine& store) {
        return store.valueOf(
            store.findChannel(store.deviceIdOf({velk::common::Uuid::VELK_NAMESPACE, "device"}), COUNTER));
    }

    inline static const std::string COUNTER{"PowerDistribution.Setting.PreferredSource"};
};

TEST_F(KeptFailureTest, AStoreWhoseDiskIsAwayGoesOnAndIsCopiedWhenItIsBack) {
    const auto store = open();
    const auto setting = store->emplaceChannel(1, names::SETTING);
    passMoment();
    std::filesystem::rename(disk(), folder / "away");
    expectOneWarning([&] {
        store->setValue(setting, CValue{std::int32_t{1}});
        passMoment();
        store->setValue(setting, CValue{std::int32_t{2}});
        pass(seconds{2}); // it is being tried already
    });
    EXPECT_EQ(store->valueOf(setting), CValue{std::int32_t{2}});
    EXPECT_FALSE(std::filesystem::exists(disk())) << "nothing is made where a disk is mounted";
    const auto failing = *store->health().copy;
    EXPECT_NE(failing.failure.find(path()), std::string::npos) << failing.failure;
    EXPECT_GT(failing.failingSinceMs, 0);
    EXPECT_GT(failing.pendingChanges, 0U);

    std::filesystem::rename(folder / "away", disk());
    pass(seconds{2});
    const auto mended = *store->health().copy;
    EXPECT_EQ(mended.failure, "");
    EXPECT_EQ(mended.failingSinceMs, 0);
    EXPECT_EQ(mended.pendingChanges, 0U);
    EXPECT_EQ(openAfterPowerCut()->valueOf(setting), CValue{std::int32_t{2}});
}

TEST_F(KeptFailureTest, AProgramThatEndsWhileTheDiskIsAwaySaysWhereTheRestIsAndTheNextOneCopiesIt) {
    auto store = open();
    const auto setting = store->emplaceChannel(1, names::SETTING);
    passMoment();
    std::filesystem::rename(disk(), folder / "away");
    ::testing::internal::CaptureStderr();
    store->setValue(setting, CValue{std::int32_t{1}});
    store.reset();
    const auto said = ::testing::internal::GetCapturedStderr();
    const auto told = said.find("; not tried again, as this program ends: what is not in " + path() +
                                " yet is in " + workingFile() +
                                ", and a restart of the machine costs it; see to the disk, and run \"tess "
                                "status\": each program that opens the store copies it\n");
    EXPECT_NE(told, std::string::npos) << said;
    EXPECT_EQ(countOf(said.substr(0, told + 1), "WARNING - store " + url()), 1U) << said;
    EXPECT_EQ(countOf(said, "not tried again"), 1U) << said;

    std::filesystem::rename(folder / "away", disk());
    open().reset();
    boot();
    EXPECT_EQ(open()->valueOf(setting), CValue{std::int32_t{1}});
}

TEST_F(KeptFailureTest, AStoreWhoseDiskIsFullGoesOnAndIsCopiedWhenThereIsSpaceAgain) {
    options.framesToCopy = 1; // so that what is in memory stays smaller than what is on the disk
    const auto store = open();
    const auto setting = store->emplaceChannel(1, names::SETTING);
    std::int32_t value = 0;
    for (int i = 0; i < 40; ++i) {
        store->setValue(setting, CValue{++value});
        passMoment();
    }
    const auto full = std::filesystem::file_size(path() + "-wal");
    ASSERT_GT(full, 2 * std::filesystem::file_size(workingFile()));
    expectOneWarning([&] {
        const velk::testing::FullDisk disk{full};
        store->setValue(setting, CValue{++value});
        passMoment();
        store->setValue(setting, CValue{++value});
        pass(seconds{2}); // it is being tried already
    });
    EXPECT_EQ(store->valueOf(setting), CValue{value});
    EXPECT_NE(openAfterPowerCut()->valueOf(setting), CValue{value});
    pass(seconds{2});
    EXPECT_EQ(openAfterPowerCut()->valueOf(setting), CValue{value});
}

TEST_F(KeptFailureTest, AProgramThatCopiesAndHangsIsToldOnceWithItsNumberAndSoIsItsEnd) {
    const auto store = open();
    const auto setting = store->emplaceChannel(1, names::SETTING);
    passMoment();
    FileLock hanging{path() + "-keeper", "hanging"};
    ASSERT_TRUE(hanging.tryAlone());
    ::testing::internal::CaptureStderr();
    store->setValue(setting, CValue{std::int32_t{1}});
    passMoment();
    pass(seconds{7});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(store->health().copy->failure, "");

    const boost::system::system_error expected{
        {static_cast<int>(StoreFault::locked), storeCategory()},
        "store " + url() + ": process " + std::to_string(::getpid()) +
            " copies and hangs; let it go on, end it, or see to the disk: " + path() + "-keeper"};
    const std::string what{expected.what()};
    ::testing::internal::CaptureStderr();
    pass(seconds{5});
    store->setValue(setting, CValue{std::int32_t{2}});
    pass(seconds{2}); // it is being tried already
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "WARNING - " + what + "; tried again until it works\n");
    EXPECT_EQ(store->health().copy->failure, what);

    hanging.release();
    ::testing::internal::CaptureStderr();
    pass(seconds{2});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "WARNING - store " + url() + ": is copied to " + path() + " again\n");
    EXPECT_EQ(store->health().copy->failure, "");
    EXPECT_EQ(openAfterPowerCut()->valueOf(setting), CValue{std::int32_t{2}});
}

TEST_F(KeptFailureTest, AProgramThatFindsOthersCopyingWhenItWantsToDoesNotTakeThemForHanging) {
    const auto store = open();
    const auto setting = store->emplaceChannel(1, names::SETTING);
    passMoment();
    FileLock others{path() + "-keeper", "others"};
    ASSERT_TRUE(others.tryAlone());
    ::testing::internal::CaptureStderr();
    store->setValue(setting, CValue{std::int32_t{1}});
    passMoment();
    for (int i = 0; i < 3; ++i) {
        pass(seconds{6});
        execute(workingFile(), "UPDATE keeping SET runs = runs + 1");
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(store->health().copy->failure, "");
}

TEST_F(KeptFailureTest, AProgramThatEndsWhileAnotherCopiesAndHangsLeavesANoteOfThat) {
    auto store = open();
    const auto setting = store->emplaceChannel(1, names::SETTING);
    passMoment();
    FileLock hanging{path() + "-keeper", "hanging"};
    ASSERT_TRUE(hanging.tryAlone());
    ::testing::internal::CaptureStderr();
    store->setValue(setting, CValue{std::int32_t{1}});
    store.reset();
    const auto said = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(countOf(said, "WARNING - "), 1U) << said;
    EXPECT_EQ(countOf(said, " copies and hangs; "), 1U) << said;
    EXPECT_EQ(countOf(said, "; not tried again, as this program ends: "), 1U) << said;
    EXPECT_EQ(countOf(noted(), " copies and hangs; "), 1U) << noted();

    hanging.release();
    open().reset();
    EXPECT_EQ(noted(), "");
}

TEST_F(KeptFailureTest, AProgramThatEndsCopiesWhatItHasSetBeforeIt) {
    const auto store = open();
    EXPECT_EQ(writer(3).wait(), 0);
    EXPECT_EQ(counterIn(*store), CValue{3U});
    EXPECT_EQ(counterIn(*openAfterPowerCut()), CValue{3U});
}

TEST_F(KeptFailureTest, WhatAKilledProgramLeftIsCopiedByOneThatRunsAlready) {
    const auto store = open();
    auto other = writer(1'000'000);
    other.readLine();
    other.kill();
    other.wait();
    pass(seconds{61});
    const auto value = counterIn(*store);
    EXPECT_TRUE(value.isValid());
    EXPECT_EQ(counterIn(*openAfterPowerCut()), value);
}

TEST_F(KeptFailureTest, WhatAKilledProgramLeftIsCopiedByTheNextThatOpensTheStore) {
    auto other = writer(1'000'000);
    std::string last;
    for (int i = 0; i < 20; ++i) {
        last = other.readLine().value_or("");
    }
    other.kill();
    other.wait();
    { const auto store = open(); }
    boot();
    const auto store = open();
    EXPECT_GE(counterIn(*store).as_uint32(), std::stoul(last));
}

TEST_F(KeptFailureTest, TenChangesASecondWriteLessThanFifteenMebibytesAnHour) {
    const auto store = open();
    velk::testing::StoreLoad load{*store, clock};
    load.run(seconds{60});
    const auto before = store->health().copy->bytesWritten;
    load.run(seconds{600});
    const auto anHour = (store->health().copy->bytesWritten - before) * 6;
    EXPECT_GT(anHour, 1024U * 1024U) << "nothing was counted";
    EXPECT_LT(anHour, 15U * 1024U * 1024U);
}

} // namespace
} // namespace tessapi::kept
