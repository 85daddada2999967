#include "tests/platform/tessapi/StoreTest.h"

#include <stdexcept>

namespace tessapi::contract {
namespace {

using qz::CValue;

/// Writes of all kinds that are made at once.
class StoreWritesTest : public StoreTest {
protected:
    void SetUp() override {
        device = client().device("device");
        voltage = client().channel(device, names::FLOAT32);
        source = client().channel(device, names::UINT32);
    }

    static qz::tess::CSingleAlarmConfig above(float threshold) {
        qz::tess::CSingleAlarmConfig config;
        config.triggers.push_back({LevelAlarm::critical, 1, CValue{threshold}, {}, 3, "high", {}, 0});
        return config;
    }

    void apply(const StoreWrites& writes) { client().channels().apply(writes); }
    std::string text(DeviceAttribute attribute) {
        return another()->channels().getDeviceAttribute(device, attribute);
    }
    CValue valueOf(std::uint64_t channel) { return another()->channels().getChannelCValue(channel); }

    std::uint64_t device{UNKNOWN_ID};
    std::uint64_t voltage{UNKNOWN_ID};
    std::uint64_t source{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreWritesTest);

TEST_P(StoreWritesTest, EveryKindIsWritten) {
    StoreWrites writes;
    writes.attributes.push_back({device, DeviceAttribute::model, "M2"});
    writes.alarmConfigs.emplace_back(voltage, above(240.0f));
    writes.states.emplace_back(source, qz::CMultistateMap{});
    writes.states.back().second.add(CValue{1U}, "mains");
    writes.values.emplace_back(voltage, CValue{250.0f});
    writes.values.emplace_back(source, CValue{1U});
    apply(writes);
    EXPECT_EQ(text(DeviceAttribute::model), "M2");
    EXPECT_EQ(valueOf(voltage), CValue{250.0f});
    EXPECT_EQ(valueOf(source), CValue{1U});
    EXPECT_EQ(client().record(voltage).alarmConfig, above(240.0f));
    ASSERT_NE(client().record(source).states.find(CValue{1U}), nullptr);
    EXPECT_EQ(*client().record(source).states.find(CValue{1U}), "mains");
}

TEST_P(StoreWritesTest, AnAlarmOfTheGroupHasItsTriggersAndItsPlace) {
    StoreWrites writes;
    writes.attributes.push_back({device, DeviceAttribute::path, "Inputs.1"});
    writes.alarmConfigs.emplace_back(voltage, above(240.0f));
    writes.values.emplace_back(voltage, CValue{250.0f});
    apply(writes);
    const auto events = client().browser().alarmEvents(0, EVERYTHING);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_TRUE(events[0].raised);
    EXPECT_EQ(events[0].place, "Inputs.1");
    EXPECT_NE(another()->alarms().getMostCritical(device), nullptr);
}

TEST_P(StoreWritesTest, TriggersHoldForTheValuesAfterThemAlsoOfAChannelThatIsKnown) {
    client().set(voltage, 230.0f);
    StoreWrites writes;
    writes.alarmConfigs.emplace_back(voltage, above(240.0f));
    writes.values.emplace_back(voltage, CValue{250.0f});
    apply(writes);
    EXPECT_NE(client().alarms().getMostCritical(device), nullptr);
    client().set(voltage, 230.0f);
    EXPECT_EQ(client().alarms().getMostCritical(device), nullptr);
    EXPECT_EQ(client().browser().alarmEvents(0, EVERYTHING).size(), 2u);
}

TEST_P(StoreWritesTest, WhatIsThereAlreadyIsAWriteOfTextsAndValuesOnly) {
    StoreWrites writes;
    writes.attributes.push_back({device, DeviceAttribute::model, "M2"});
    writes.alarmConfigs.emplace_back(voltage, above(240.0f));
    writes.values.emplace_back(voltage, CValue{250.0f});
    apply(writes);
    const auto heard = client().watch({voltage});
    const auto texts = client().watchDevice(device);
    apply(writes);
    client().settle();
    EXPECT_EQ(heard.all(), (std::vector<Write>{{voltage, CValue{250.0f}}}));
    EXPECT_EQ(texts.all(), std::vector<std::uint64_t>{device});
    EXPECT_EQ(client().browser().alarmEvents(0, EVERYTHING).size(), 1u);
}

TEST_P(StoreWritesTest, ValuesAreHeardInTheirOrder) {
    const auto heard = client().watch({voltage, source});
    StoreWrites writes;
    writes.values = {{source, CValue{1U}}, {voltage, CValue{2.0f}}, {source, CValue{3U}}};
    apply(writes);
    EXPECT_EQ(heard.waitFor(3),
              (std::vector<Write>{{source, CValue{1U}}, {voltage, CValue{2.0f}}, {source, CValue{3U}}}));
}

TEST_P(StoreWritesTest, OfARefusedGroupNoValueIsWritten) {
    client().set(source, 1u);
    StoreWrites writes;
    writes.values = {{source, CValue{2U}}, {voltage, CValue{"text"}}};
    EXPECT_THROW(apply(writes), std::invalid_argument);
    EXPECT_EQ(valueOf(source), CValue{1U});
    client().channels().removeAllChannelsExcept(device, {source});
    writes.values = {{source, CValue{2U}}, {voltage, CValue{2.0f}}};
    EXPECT_THROW(apply(writes), std::runtime_error);
    EXPECT_EQ(valueOf(source), CValue{1U});
}

TEST_P(StoreWritesTest, NothingHappensForWhatIsUnknown) {
    StoreWrites writes;
    writes.attributes.push_back({999'999, DeviceAttribute::model, "M2"});
    writes.alarmConfigs.emplace_back(999'999, above(240.0f));
    writes.states.emplace_back(999'999, qz::CMultistateMap{});
    writes.values.emplace_back(source, CValue{2U});
    apply(writes);
    EXPECT_EQ(valueOf(source), CValue{2U});
    EXPECT_NO_THROW(apply({}));
}

TEST_P(StoreWritesTest, WritesThatNobodyHereWantsLeaveTheOthersInOrder) {
    const auto other = another();
    const auto heard = client().watch({source});
    for (std::uint32_t number = 0; number < 50; ++number) {
        client().set(voltage, 1.0f);
        other->set(voltage, 2.0f);
        client().set(source, number);
        client().set(voltage, 3.0f);
        other->set(source, number);
    }
    const auto values = valuesOf(heard.waitFor(100));
    ASSERT_EQ(values.size(), 100u);
    for (std::uint32_t number = 0; number < 100; ++number) {
        EXPECT_EQ(values[number], CValue{number / 2});
    }
}

TEST_P(StoreWritesTest, WhoBeginsToWatchHearsNothingOfWhatWasPassedOver) {
    const auto sources = client().watch({source});
    client().set(voltage, 1.0f);
    client().set(voltage, 2.0f);
    const auto voltages = client().watch({voltage});
    client().set(voltage, 3.0f);
    client().settle();
    EXPECT_EQ(voltages.all(), (std::vector<Write>{{voltage, CValue{3.0f}}}));
    EXPECT_TRUE(sources.all().empty());
}

} // namespace
} // namespace tessapi::contract
