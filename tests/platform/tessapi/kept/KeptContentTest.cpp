#include "platform/qz/CSingleAlarmConfig.h"
#include "testing/SameImage.h"
#include "tests/platform/tessapi/kept/KeptTest.h"

#include <fstream>
#include <map>

namespace tessapi::kept {
namespace {

using qz::CValue;
using std::chrono::seconds;
using velk::testing::expectSame;

/// What of a store reaches the disk, and when.
class KeptContentTest : public KeptTest {
protected:
    /// A store with something of every kind in it.
    void furnish(Engine& store) {
        device = store.emplaceDevice(uuid("device"), 1, 20);
        child = store.emplaceDevice(uuid("child"), device, 0);
        store.setAttribute(device, 5, "UPS 3000");
        store.setAttribute(child, 7, "Inputs.1");
        measured = store.emplaceChannel(child, names::MEASURED);
        setting = store.emplaceChannel(child, names::SETTING);
        state = store.emplaceChannel(child, names::STATE);
        store.setValue(measured, CValue{229.5F});
        store.setValue(setting, CValue{std::int32_t{30}});
        store.setAlarmConfig(measured, above(240.0F));
    }

    static velk::common::Uuid uuid(const std::string& name) {
        return {velk::common::Uuid::VELK_NAMESPACE, name};
    }
    static qz::tess::CSingleAlarmConfig above(float limit) {
        qz::tess::CSingleAlarmConfig config;
        config.triggers.push_back({LevelAlarm::critical, 1, CValue{limit}, {}, 3, "A017", {}, 0});
        return config;
    }

    std::uint64_t device{0};
    std::uint64_t child{0};
    std::uint64_t measured{0};
    std::uint64_t setting{0};
    std::uint64_t state{0};
};

TEST_F(KeptContentTest, AfterABootTheStoreIsAsItWasWhenItsLastProgramEnded) {
    auto store = open();
    furnish(*store);
    store->setValue(measured, CValue{250.0F}); // raises its alarm
    store->setValue(measured, CValue{251.0F});
    store->setValue(measured, CValue{251.0F}); // written, not changed
    store->recordWrite({});
    const auto before = store->image();
    ASSERT_EQ(before.alarmEvents.size(), 1U);
    store.reset();
    boot();
    expectSame(open()->image(), before);
}

TEST_F(KeptContentTest, FillingFromTheDiskIsNoWrite) {
    furnish(*open());
    boot();
    const auto store = open();
    EXPECT_TRUE(store->newsAfter(0).changes.empty());
    EXPECT_EQ(store->startOf({}).seq, 0);
    EXPECT_EQ(store->health().copy->pendingChanges, 0U);
    EXPECT_EQ(store->health().copy->pendingValues, 0U);
}

TEST_F(KeptContentTest, IdentifiersAreNotGivenAgainAfterABoot) {
    std::uint64_t gone = 0;
    {
        const auto store = open();
        gone = store->emplaceDevice(uuid("gone"), 1, 0);
        store->removeSubDevices(1, {}, 1000);
    }
    boot();
    EXPECT_GT(open()->emplaceDevice(uuid("new"), 1, 0), gone);
}

TEST_F(KeptContentTest, WhatPeopleHaveSetIsOnTheDiskWithinASecond) {
    const auto store = open();
    furnish(*store);
    passMoment();
    store->setAttribute(device, 5, "UPS 5000");
    store->setValue(setting, CValue{std::int32_t{60}});
    store->setAlarmConfig(state, above(1.0F));
    qz::CMultistateMap labels;
    labels.add(CValue{1U}, "one");
    store->setStates(state, labels);
    const auto added = store->emplaceDevice(uuid("added"), device, 0);
    passMoment();

    const auto after = openAfterPowerCut();
    EXPECT_EQ(after->attribute(device, 5), "UPS 5000");
    EXPECT_EQ(after->valueOf(setting), CValue{std::int32_t{60}});
    EXPECT_EQ(after->deviceIdOf(uuid("added")), added);
    for (const auto& channel : after->snapshot().channels) {
        if (channel.id == state) {
            EXPECT_EQ(channel.states, labels);
            EXPECT_EQ(channel.alarmConfig, above(1.0F));
        }
    }
}

TEST_F(KeptContentTest, WhatHappenedToTheLinkAndInTheDeviceIsOnTheDiskWithinASecond) {
    const auto store = open();
    std::map<std::uint64_t, std::string> written;
    for (const char* name : {"Daemon.Communication", "Daemon.DeviceLog"}) {
        written[store->emplaceChannel(1, name)] = std::string{"[1] "} + name;
    }
    passMoment();
    for (const auto& [channel, text] : written) {
        store->setValue(channel, CValue{text});
    }
    EXPECT_EQ(store->health().copy->pendingChanges, 2U);
    EXPECT_EQ(store->health().copy->pendingValues, 0U);
    passMoment();
    const auto after = openAfterPowerCut();
    for (const auto& [channel, text] : written) {
        EXPECT_EQ(after->valueOf(channel), CValue{text});
    }
}

TEST_F(KeptContentTest, MeasuredValuesAreCopiedOnceAMinute) {
    const auto store = open();
    furnish(*store);
    passMoment();
    store->setValue(measured, CValue{231.0F});
    passMoment();
    pass(seconds{30});
    EXPECT_EQ(openAfterPowerCut()->valueOf(measured), CValue{229.5F});
    EXPECT_EQ(store->health().copy->pendingValues, 1U);
    pass(seconds{31});
    EXPECT_EQ(openAfterPowerCut()->valueOf(measured), CValue{231.0F});
    EXPECT_EQ(store->health().copy->pendingValues, 0U);
}

TEST_F(KeptContentTest, AnAlarmIsKeptSoonAndTogetherWithTheValueThatRaisedIt) {
    const auto store = open();
    furnish(*store);
    passMoment();
    store->setValue(measured, CValue{250.0F});
    passMoment();
    const auto after = openAfterPowerCut();
    EXPECT_EQ(after->valueOf(measured), CValue{250.0F});
    ASSERT_TRUE(after->mostCriticalOf(child));
    EXPECT_EQ(after->mostCriticalOf(child)->code, "A017");
    ASSERT_EQ(after->alarmEvents(0, 10).size(), 1U);
    EXPECT_EQ(after->alarmEvents(0, 10)[0], store->alarmEvents(0, 10)[0]);
}

TEST_F(KeptContentTest, WhatIsGoneIsGoneOnTheDisk) {
    const auto store = open();
    furnish(*store);
    const auto other = store->emplaceDevice(uuid("other"), device, 0);
    passMoment();
    store->removeChannels(child, {measured});
    store->removeSubDevices(device, {child}, 1000);
    passMoment();
    const auto after = openAfterPowerCut();
    EXPECT_TRUE(after->uuidOf(other).isNil());
    EXPECT_EQ(after->typeOf(setting), qz::datatype::unknown);
    expectSame(after->image(), store->image());
}

TEST_F(KeptContentTest, AllThatHappensBetweenTwoCopiesComesOutRight) {
    const auto store = open();
    furnish(*store);
    passMoment();
    // Another device in the same seat, with a channel of the same name, and the former one in another seat.
    store->emplaceDevice(uuid("swapped"), 1, 20);
    const auto moved = store->emplaceDevice(uuid("device"), 20, 21);
    store->emplaceDevice(uuid("child"), moved, 0);
    store->setValue(store->emplaceChannel(moved, names::MEASURED), CValue{1.5F});
    store->setValue(store->emplaceChannel(20, names::MEASURED), CValue{2.5F});
    passMoment();
    expectSame(openAfterPowerCut()->image(), store->image());
}

TEST_F(KeptContentTest, AnImageThatFillsAStoreIsKeptLikeAnyChange) {
    StoreImage image;
    {
        const auto source = Engine::open(StoreUrl{"memory:source of " + path()}, true);
        furnish(*source);
        source->setValue(measured, CValue{250.0F});
        image = source->image();
    }
    const auto store = open();
    store->fill(image);
    passMoment();
    expectSame(openAfterPowerCut()->image(), store->image());
}

TEST_F(KeptContentTest, AChannelThatTheCatalogueRetypesLosesItsValueOnTheDiskToo) {
    {
        const auto store = open();
        store->setValue(store->emplaceChannel(1, "Plant.Pump"), CValue{"shut"});
    }
    std::filesystem::create_directories(disk() / "catalogue.d");
    std::ofstream{disk() / "catalogue.d" / "plant.json"} << R"({"Plant.Pump": {"type": "int32"}})";
    open();
    boot();
    const auto store = open();
    const auto pump = store->findChannel(1, "Plant.Pump");
    EXPECT_EQ(store->typeOf(pump), qz::datatype::int32);
    EXPECT_FALSE(store->valueOf(pump).isValid());
}

TEST_F(KeptContentTest, TheHistoryOnTheDiskIsBoundedLikeTheStores) {
    options.eventsKept = 8;
    const auto store = open();
    const auto channel = store->emplaceChannel(1, names::MEASURED);
    store->setAlarmConfig(channel, above(1.0F));
    for (int i = 0; i < 20; ++i) {
        store->setValue(channel, CValue{i % 2 == 0 ? 2.0F : 0.0F});
        passMoment();
    }
    const auto kept = openAfterPowerCut()->alarmEvents(0, 1000);
    EXPECT_LT(kept.size(), 12U);
    EXPECT_EQ(kept, store->alarmEvents(0, 1000));
}

TEST_F(KeptContentTest, NothingIsWrittenToTheDiskWithoutAChange) {
    const auto store = open();
    furnish(*store);
    passMoment();
    const auto written = store->health().copy->bytesWritten;
    EXPECT_GT(written, 0U);
    pass(seconds{600});
    EXPECT_EQ(store->health().copy->bytesWritten, written);
}

TEST_F(KeptContentTest, AMeasuredValueWritesNothingBeforeItsTime) {
    const auto store = open();
    furnish(*store);
    passMoment();
    const auto written = store->health().copy->bytesWritten;
    store->setValue(measured, CValue{231.0F});
    passMoment();
    pass(seconds{30});
    EXPECT_EQ(store->health().copy->bytesWritten, written);
}

TEST_F(KeptContentTest, HowOftenMeasuredValuesAreCopiedCanBeChosenAndStaysChosen) {
    {
        const auto store = open(url() + "&keep=10");
        furnish(*store);
        passMoment();
        store->setValue(measured, CValue{231.0F});
        passMoment();
        EXPECT_EQ(openAfterPowerCut()->valueOf(measured), CValue{229.5F});
        pass(seconds{9});
        EXPECT_EQ(openAfterPowerCut()->valueOf(measured), CValue{231.0F});
    }
    EXPECT_EQ(open()->health().copy->valuesEverySec, 10);
}

} // namespace
} // namespace tessapi::kept
