#include "platform/tessapi/engine/ChangeLog.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/Generation.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/Transaction.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

using qz::CValue;
using tessapi::Change;
using tessapi::ChangeLog;
using tessapi::Database;
using tessapi::Engine;
using tessapi::Generation;
using tessapi::InterprocessHold;
using tessapi::InterprocessLock;
using tessapi::NewsRing;
using tessapi::SharedPage;
using tessapi::Transaction;

const std::string WATCHED{"PowerDistribution.Status.Source"};
const std::string TEXT{"PowerDistribution.Attribute.SerialNumber"};

/// How a change travels from one program to the listeners of another: by the page that they share, and by the
/// change log for whatever is not there.
class EngineNewsTest : public ::testing::Test {
protected:
    EngineNewsTest() : writer{open()}, listener{open()} {
        channel = writer->emplaceChannel(1, WATCHED);
        writer->setValue(channel, CValue{1U});
        start = listener->startOf({}).seq;
    }

    std::string path() const { return (folder / "tess.db").string(); }
    std::shared_ptr<Engine> open() const { return Engine::open(tessapi::StoreUrl{"sqlite:" + path()}, true); }

    /// What a writer leaves that is killed after its commit, before it has told anybody.
    void writeUntold(std::uint32_t value) const {
        SharedPage page{path() + "-lock", "test"};
        InterprocessLock lock{page, "test", std::chrono::milliseconds{1000}};
        const InterprocessHold hold{lock};
        Database database{path(), "test"};
        ChangeLog log{database, 1000};
        Transaction transaction{database, Transaction::Kind::write};
        log.append(Change::Kind::value, channel, CValue{value}, 5);
        const Generation::Change change{page.words().generation};
        transaction.commit();
    }

    std::vector<std::uint32_t> valuesAfter(std::int64_t seq) const {
        std::vector<std::uint32_t> values;
        std::int64_t last = seq;
        for (const auto& change : listener->newsAfter(seq).changes) {
            EXPECT_EQ(change.seq, ++last);
            values.push_back(change.value.as_uint32());
        }
        return values;
    }

    using Values = std::vector<std::uint32_t>;

    const velk::testing::TemporaryDirectory folder;
    const std::shared_ptr<Engine> writer;
    const std::shared_ptr<Engine> listener;
    std::uint64_t channel{0};
    std::int64_t start{0};
};

TEST_F(EngineNewsTest, AListenerTakesAChangeFromTheSharedPage) {
    writer->setValue(channel, CValue{2U});
    SharedPage page{path() + "-lock", "test"};
    auto& slot = page.words().news.slots[static_cast<std::size_t>(start + 1) % NewsRing::SLOTS];
    slot.timeMs = 77; // so that it can be told from what is in the log
    const auto news = listener->newsAfter(start);
    ASSERT_EQ(news.changes.size(), 1U);
    EXPECT_EQ(news.changes[0].timeMs, 77);
    EXPECT_EQ(news.changes[0].object, channel);
    EXPECT_EQ(news.changes[0].value, CValue{2U});
    EXPECT_EQ(news.upTo, start + 1);
    EXPECT_FALSE(news.more);
    EXPECT_FALSE(news.gap);
}

TEST_F(EngineNewsTest, TheChangeOfAWriterThatWasKilledBeforeItToldIsFoundInTheLog) {
    writer->setValue(channel, CValue{2U});
    writeUntold(3);
    EXPECT_EQ(valuesAfter(start), (Values{2}));
    EXPECT_EQ(valuesAfter(start + 1), (Values{3})); // nobody else has looked yet
}

TEST_F(EngineNewsTest, AStartKnowsTheChangeOfAWriterThatWasKilledBeforeItTold) {
    EXPECT_EQ(listener->startOf({}).seq, start);
    writeUntold(7);
    EXPECT_EQ(listener->startOf({}).seq, start + 1);
    writer->emplaceChannel(1, "Another"); // a commit that is no news
    EXPECT_EQ(listener->startOf({}).seq, start + 1);
}

TEST_F(EngineNewsTest, TheNextWriterLeavesAHoleThatIsFilledFromTheLog) {
    writeUntold(2);
    writer->setValue(channel, CValue{3U});
    EXPECT_EQ(valuesAfter(start), (Values{2, 3}));
    writer->setValue(channel, CValue{4U});
    writeUntold(5);
    writer->setValue(channel, CValue{6U});
    EXPECT_EQ(valuesAfter(start + 2), (Values{4, 5, 6}));
}

TEST_F(EngineNewsTest, AValueThatIsTooLongForThePageComesFromTheLog) {
    const auto name = writer->emplaceChannel(1, TEXT);
    const std::string text(500, 'x');
    writer->setValues({{channel, CValue{2U}}, {name, CValue{text}}, {channel, CValue{3U}}});
    const auto news = listener->newsAfter(start);
    ASSERT_EQ(news.changes.size(), 3U);
    EXPECT_EQ(news.changes[1].value, CValue{text});
    EXPECT_EQ(news.changes[2].value, CValue{3U});
}

TEST_F(EngineNewsTest, AWriteThatIsRolledBackIsNotTold) {
    EXPECT_THROW(writer->setValues({{channel, CValue{2U}}, {channel, CValue{"text"}}}),
                 std::invalid_argument);
    writer->setValue(channel, CValue{3U});
    EXPECT_EQ(valuesAfter(start), (Values{3}));
}

TEST_F(EngineNewsTest, TheValueOfTheNewestCommitIsKnownWithTheNews) {
    writer->setValue(channel, CValue{2U});
    EXPECT_EQ(valuesAfter(start), (Values{2}));
    EXPECT_EQ(listener->valueOf(channel), CValue{2U});
    writer->setValues({{channel, CValue{3U}}, {channel, CValue{4U}}});
    EXPECT_EQ(valuesAfter(start + 1), (Values{3, 4}));
    EXPECT_EQ(listener->valueOf(channel), CValue{4U});
    writer->setValue(channel, CValue{5U});
    EXPECT_EQ(listener->valueOf(channel), CValue{5U});
    EXPECT_EQ(valuesAfter(start + 1), (Values{3, 4, 5}));
    EXPECT_EQ(listener->valueOf(channel), CValue{5U});
}

TEST_F(EngineNewsTest, WhatIsToldOfAChannelThatIsGoneByNowIsNotItsValue) {
    writer->setValue(channel, CValue{2U});
    writer->removeChannels(1, {});
    listener->newsAfter(start);
    EXPECT_EQ(listener->typeOf(channel), qz::datatype::unknown);
    EXPECT_EQ(listener->valueOf(channel), CValue{});
}

TEST_F(EngineNewsTest, NewsGoOnWhenThePageWasDeleted) {
    std::filesystem::remove(path() + "-lock");
    writer->setValue(channel, CValue{2U});
    const auto late = open();
    late->setValue(channel, CValue{3U});
    EXPECT_EQ(valuesAfter(start), (Values{2, 3}));
    listener->setValue(channel, CValue{4U}); // follows there
    writer->setValue(channel, CValue{5U});
    EXPECT_EQ(valuesAfter(start + 2), (Values{4, 5}));
}

/// The file of a store is another one by the time that a program opens it again.
class ReplacedStoreTest : public ::testing::Test {
protected:
    std::string path() const { return (folder / "tess.db").string(); }

    /// Gives the number of the newest change.
    std::int64_t write(std::uint32_t first, int count) const {
        const auto engine = Engine::open(tessapi::StoreUrl{"sqlite:" + path()}, true);
        const auto channel = engine->emplaceChannel(1, WATCHED);
        for (int i = 0; i < count; ++i) {
            engine->setValue(channel, CValue{first + static_cast<std::uint32_t>(i)});
        }
        return engine->startOf({}).seq;
    }

    void expectNothingOld(std::int64_t newest) const {
        const auto engine = Engine::open(tessapi::StoreUrl{"sqlite:" + path()}, true);
        EXPECT_EQ(engine->startOf({}).seq, newest);
        EXPECT_TRUE(engine->newsAfter(newest).changes.empty());
        engine->setValue(engine->findChannel(1, WATCHED), CValue{1000U});
        const auto news = engine->newsAfter(newest - 1).changes;
        ASSERT_EQ(news.size(), 2U);
        EXPECT_LT(news[0].value.as_uint32(), 10U);
        EXPECT_EQ(news[1].value, CValue{1000U});
    }

    const velk::testing::TemporaryDirectory folder;
};

TEST_F(ReplacedStoreTest, ANewFileInThePlaceOfADeletedOneHasNoneOfItsNews) {
    write(100, 20);
    for (const char* part : {"", "-wal", "-shm"}) {
        std::filesystem::remove(path() + part);
    }
    const auto newest = write(1, 5);
    expectNothingOld(newest);
}

TEST_F(ReplacedStoreTest, ACopyThatIsRestoredInPlaceHasNoneOfTheLaterNews) {
    const auto newest = write(1, 5);
    const auto copy = (folder / "copy.db").string();
    for (const std::string part : {"", "-wal"}) {
        std::filesystem::copy_file(path() + part, copy + part);
    }
    write(100, 20);
    std::filesystem::remove(path() + "-shm");
    for (const std::string part : {"", "-wal"}) { // the same file with another content
        std::filesystem::copy_file(copy + part, path() + part,
                                   std::filesystem::copy_options::overwrite_existing);
    }
    expectNothingOld(newest);
}

} // namespace
