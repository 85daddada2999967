#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/Generation.h"
#include "platform/tessapi/engine/ReadCache.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using qz::CValue;
using tessapi::Engine;
using tessapi::Generation;

const std::string SOURCE{"PowerDistribution.Status.Source"};
const std::string MODE{"PowerDistribution.Status.Mode"};

/// What a program keeps of what it has read, while others write.
class KnownValuesTest : public ::testing::Test {
protected:
    std::string path() const { return (folder / "tess.db").string(); }
    std::shared_ptr<Engine> open() const { return Engine::open(tessapi::StoreUrl{"sqlite:" + path()}, true); }

    static qz::tess::CSingleAlarmConfig above(std::uint32_t threshold) {
        qz::CAlarmTrigger trigger;
        trigger.level = tessapi::LevelAlarm::warning;
        trigger.type = 1;
        trigger.threshold1 = CValue{threshold};
        trigger.code = "above";
        qz::tess::CSingleAlarmConfig config;
        config.triggers.push_back(trigger);
        return config;
    }

    const velk::testing::TemporaryDirectory folder;
};

TEST_F(KnownValuesTest, AWriteOfAnotherProgramIsReadAtOnce) {
    const auto reader = open();
    const auto writer = open();
    const auto channel = writer->emplaceChannel(1, SOURCE);
    for (std::uint32_t i = 0; i < 100; ++i) {
        writer->setValue(channel, CValue{i});
        EXPECT_EQ(reader->valueOf(channel), CValue{i});
        EXPECT_EQ(reader->valueOf(channel), CValue{i});
        EXPECT_EQ(writer->valueOf(channel), CValue{i});
    }
}

TEST_F(KnownValuesTest, AChannelThatAnotherProgramRemovesIsNotKnownAnyMore) {
    const auto reader = open();
    const auto writer = open();
    const auto channel = reader->emplaceChannel(1, SOURCE);
    reader->setValue(channel, CValue{1U});
    EXPECT_EQ(reader->typeOf(channel), qz::datatype::uint32);
    writer->removeChannels(1, {});
    EXPECT_EQ(reader->typeOf(channel), qz::datatype::unknown);
    EXPECT_EQ(reader->valueOf(channel), CValue{});
    EXPECT_THROW(reader->setValue(channel, CValue{2U}), std::runtime_error);
}

TEST_F(KnownValuesTest, TriggersThatAnotherProgramHasChangedHoldForTheNextWrite) {
    const auto one = open();
    const auto other = open();
    const auto channel = one->emplaceChannel(1, SOURCE);
    one->setAlarmConfig(channel, above(10));
    one->setValue(channel, CValue{5U});
    other->setAlarmConfig(channel, above(3));
    EXPECT_TRUE(one->mostCriticalOf(1).has_value());
    one->setValue(channel, CValue{6U});
    EXPECT_TRUE(one->mostCriticalOf(1).has_value());
    one->setValue(channel, CValue{2U});
    EXPECT_FALSE(other->mostCriticalOf(1).has_value());
}

TEST_F(KnownValuesTest, AWriteThatFailsLeavesNothingOfItself) {
    const auto engine = open();
    const auto channel = engine->emplaceChannel(1, SOURCE);
    engine->setAlarmConfig(channel, above(10));
    engine->setValue(channel, CValue{1U});
    EXPECT_THROW(engine->setValues({{channel, CValue{20U}}, {channel, CValue{"text"}}}),
                 std::invalid_argument);
    EXPECT_EQ(engine->valueOf(channel), CValue{1U});
    EXPECT_FALSE(engine->mostCriticalOf(1).has_value());
    engine->setValue(channel, CValue{20U});
    EXPECT_TRUE(engine->mostCriticalOf(1).has_value());
}

TEST_F(KnownValuesTest, AConfigurationThatIsThereAlreadyIsNotWritten) {
    const auto engine = open();
    const auto channel = engine->emplaceChannel(1, SOURCE);
    engine->setAlarmConfig(channel, above(10));
    const auto ticket = engine->wakeup().ticket();
    engine->setAlarmConfig(channel, above(10));
    EXPECT_EQ(engine->wakeup().ticket(), ticket);
    engine->setAlarmConfig(channel, above(11));
    EXPECT_NE(engine->wakeup().ticket(), ticket);
}

TEST_F(KnownValuesTest, AWriterThatWasKilledInItsCommitCostsReadersTheirMemoryAndNothingElse) {
    const auto reader = open();
    const auto writer = open();
    const auto channel = writer->emplaceChannel(1, SOURCE);
    writer->setValue(channel, CValue{1U});
    tessapi::SharedPage page{path() + "-lock", "test"};
    page.words().generation.fetch_add(1); // where it stops
    EXPECT_EQ(reader->valueOf(channel), CValue{1U});
    EXPECT_EQ(reader->valueOf(channel), CValue{1U});
    EXPECT_FALSE(Generation::isSettled(page.words().generation));
    writer->setValue(channel, CValue{2U});
    EXPECT_TRUE(Generation::isSettled(page.words().generation));
    EXPECT_EQ(reader->valueOf(channel), CValue{2U});
}

TEST_F(KnownValuesTest, WhoeverHasHeardOfAWriteReadsItOrALaterOne) {
    const auto reader = open();
    const auto writer = open();
    const auto channel = writer->emplaceChannel(1, SOURCE);
    writer->setValue(channel, CValue{0U});
    constexpr std::uint32_t WRITES = 2000;
    std::atomic<std::uint32_t> told{0};
    std::thread writing{[&] {
        for (std::uint32_t i = 1; i <= WRITES; ++i) {
            writer->setValue(channel, CValue{i});
            told = i;
        }
    }};
    std::uint32_t older = 0;
    for (std::uint32_t known = 0; known < WRITES;) {
        known = told;
        older += reader->valueOf(channel).as_uint32() < known ? 1 : 0;
    }
    writing.join();
    EXPECT_EQ(older, 0U);
}

TEST_F(KnownValuesTest, SeveralChannelsAreMadeAtOnceAndFoundAgain) {
    const auto engine = open();
    const auto mode = engine->emplaceChannel(1, MODE);
    const auto ticket = engine->wakeup().ticket();
    const auto made = engine->emplaceChannels(1, {SOURCE, MODE, "Other", SOURCE});
    ASSERT_EQ(made.size(), 4U);
    EXPECT_EQ(made[0], engine->findChannel(1, SOURCE));
    EXPECT_EQ(made[1], mode);
    EXPECT_EQ(made[2], engine->findChannel(1, "Other"));
    EXPECT_EQ(made[3], made[0]);
    EXPECT_EQ(engine->typeOf(made[2]), qz::datatype::string);
    EXPECT_EQ(engine->wakeup().ticket(), ticket + 1);
    EXPECT_EQ(engine->emplaceChannels(1, {SOURCE, MODE, "Other"}),
              (std::vector<std::uint64_t>{made[0], mode, made[2]}));
    EXPECT_EQ(engine->wakeup().ticket(), ticket + 1);
    const auto nowhere = engine->emplaceChannels(999'999, {SOURCE, MODE});
    EXPECT_EQ(nowhere, (std::vector<std::uint64_t>(2, ~std::uint64_t{0})));
}

TEST(ReadCacheTest, NothingIsKeptOfAGenerationThatHasPassedOrIsUnderway) {
    tessapi::ReadCache cache;
    cache.keep(3, 3, 7, {qz::datatype::uint32, CValue{1U}});
    EXPECT_FALSE(cache.valueOf(3, 7));
    cache.keep(2, 4, 7, {qz::datatype::uint32, CValue{1U}});
    EXPECT_FALSE(cache.valueOf(2, 7));
    EXPECT_FALSE(cache.valueOf(4, 7));
    cache.keep(4, 4, 7, {qz::datatype::uint32, CValue{2U}});
    EXPECT_EQ(cache.valueOf(4, 7), CValue{2U});
    cache.keep(2, 2, 8, {qz::datatype::uint32, CValue{1U}});
    EXPECT_FALSE(cache.valueOf(2, 8));
    EXPECT_EQ(cache.valueOf(4, 7), CValue{2U});
}

TEST(ReadCacheTest, AnOwnCommitIsFollowedOnlyFromTheGenerationThatIsKnown) {
    tessapi::ReadCache cache;
    cache.keep(4, 4, 7, {qz::datatype::uint32, CValue{2U}});
    const std::pair<std::uint64_t, CValue> changed{7, CValue{3U}};
    cache.follow(4, 6, {&changed, 1});
    EXPECT_EQ(cache.valueOf(6, 7), CValue{3U});
    EXPECT_EQ(cache.typeOf(6, 7), qz::datatype::uint32);
    cache.follow(8, 10, {&changed, 1});
    EXPECT_FALSE(cache.valueOf(10, 7));
}

TEST(ReadCacheTest, ADeviceIsKnownForAsLongAsAChannel) {
    const velk::common::Uuid uuid{"00000000-0000-4000-8000-000000000001"};
    tessapi::ReadCache cache;
    cache.keepDevice(2, 4, uuid, 20);
    EXPECT_FALSE(cache.deviceOf(4, uuid));
    cache.keepDevice(4, 4, uuid, 20);
    EXPECT_EQ(cache.deviceOf(4, uuid), 20U);
    cache.follow(4, 6, {});
    EXPECT_FALSE(cache.deviceOf(4, uuid));
    EXPECT_EQ(cache.deviceOf(6, uuid), 20U);
    cache.keep(8, 8, 7, {qz::datatype::uint32, CValue{1U}});
    EXPECT_FALSE(cache.deviceOf(8, uuid));
    cache.keepDevice(8, 8, uuid, 20);
    cache.forget();
    EXPECT_FALSE(cache.deviceOf(8, uuid));
}

TEST(ReadCacheTest, SeveralValuesAreKnownOnlyAllTogether) {
    tessapi::ReadCache cache;
    cache.keep(4, 4, 7, {qz::datatype::uint32, CValue{2U}});
    cache.keep(4, 4, 8, {qz::datatype::uint32, CValue{}});
    const std::vector<std::uint64_t> both{7, 8};
    const std::vector<std::uint64_t> more{7, 8, 9};
    EXPECT_EQ(cache.valuesOf(4, both), (std::map<std::uint64_t, CValue>{{7, CValue{2U}}, {8, CValue{}}}));
    EXPECT_FALSE(cache.valuesOf(4, more));
    EXPECT_FALSE(cache.valuesOf(6, both));
    EXPECT_TRUE(cache.valuesOf(4, {})->empty());
    EXPECT_FALSE(cache.valuesOf(6, {})) << "of that nothing is known";
}

TEST(GenerationTest, TheNumberIsOddWhileItIsHeldAndGreaterAfterwardsEvenIfAWriterWasKilled) {
    std::atomic<std::uint64_t> word{4};
    {
        const Generation::Change change{word};
        EXPECT_EQ(word, 5U);
        EXPECT_EQ(change.before, 4U);
    }
    EXPECT_EQ(word, 6U);
    word = 7;
    {
        const Generation::Change change{word};
        EXPECT_EQ(word, 9U);
    }
    EXPECT_EQ(word, 10U);
}

} // namespace
