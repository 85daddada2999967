#include "tests/platform/tessapi/StoreTest.h"

#include <chrono>

namespace tessapi::contract {
namespace {

using qz::CAlarmTrigger;
using qz::CValue;

/// What the store keeps of alarms that came and went and of writes to the device.
class StoreEventTest : public StoreTest {
protected:
    void SetUp() override {
        device = client().device("device");
        client().channels().setDeviceAttribute(device, DeviceAttribute::path, "Inputs.1");
        voltage = client().channel(device, names::FLOAT32);
    }

    static CAlarmTrigger above(LevelAlarm level, CValue threshold, const std::string& code,
                               std::int32_t priority = -1) {
        return {level, 1, std::move(threshold), {}, priority, code, {}, 0};
    }

    std::vector<AlarmEvent> events() { return client().browser().alarmEvents(0, EVERYTHING); }
    std::vector<WriteRecord> records() { return client().browser().writeRecords(0, EVERYTHING); }

    /// "+code" for each alarm raised, "-code" for each cleared.
    std::vector<std::string> story() {
        std::vector<std::string> told;
        for (const auto& event : events()) {
            told.push_back((event.raised ? "+" : "-") + event.code);
        }
        return told;
    }

    using Story = std::vector<std::string>;

    std::uint64_t device{UNKNOWN_ID};
    std::uint64_t voltage{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreEventTest);

TEST_P(StoreEventTest, AFreshStoreHasNoEvents) {
    EXPECT_TRUE(events().empty());
    EXPECT_TRUE(records().empty());
}

TEST_P(StoreEventTest, ARaisedAlarmIsKeptWithEverythingThatTellsOfIt) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high", 3)});
    const auto before = std::chrono::system_clock::now();
    client().set(voltage, 250.0f);
    const auto kept = events();
    ASSERT_EQ(kept.size(), 1u);
    const auto& event = kept[0];
    EXPECT_EQ(event.number, 1);
    EXPECT_GE(event.timeMs,
              std::chrono::duration_cast<std::chrono::milliseconds>(before.time_since_epoch()).count());
    EXPECT_TRUE(event.raised);
    EXPECT_EQ(event.device, device);
    EXPECT_EQ(event.channel, voltage);
    EXPECT_EQ(event.place, "Inputs.1");
    EXPECT_EQ(event.name, names::FLOAT32);
    EXPECT_EQ(event.code, "high");
    EXPECT_EQ(event.level, LevelAlarm::critical);
    EXPECT_EQ(event.priority, 3);
    EXPECT_EQ(event.type, 1);
    EXPECT_EQ(event.value, CValue{250.0f});
    EXPECT_EQ(event.threshold1, CValue{240.0f});
    EXPECT_FALSE(event.threshold2.isValid());
    EXPECT_EQ(event.message, client().record(voltage).description);
    EXPECT_FALSE(event.message.empty());
}

TEST_P(StoreEventTest, TheMessageIsTheNameOfTheStateThatTheValueHas) {
    const auto storage = client().channel(device, names::LABELLED);
    qz::CMultistateMap states;
    states.add(CValue{1U}, "no battery there");
    client().channels().setChannelMultistateMap(storage, states);
    client().setAlarms(storage, {{LevelAlarm::warning, 3, CValue{1U}, {}, -1, "missing", {}, 0}});
    client().set(storage, 1U);
    ASSERT_EQ(events().size(), 1u);
    EXPECT_EQ(events()[0].message, "no battery there");
}

TEST_P(StoreEventTest, AClearedAlarmIsKeptWithTheValueThatClearedIt) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(voltage, 250.0f);
    client().set(voltage, 230.0f);
    ASSERT_EQ(story(), (Story{"+high", "-high"}));
    EXPECT_EQ(events()[1].value, CValue{230.0f});
    EXPECT_EQ(events()[1].number, 2);
}

TEST_P(StoreEventTest, AnAlarmThatStaysMakesNoEvent) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(voltage, 250.0f);
    client().set(voltage, 251.0f);
    EXPECT_EQ(story(), (Story{"+high"}));
}

TEST_P(StoreEventTest, TheNextAlarmIsRaisedAfterTheFormerOneWasCleared) {
    CAlarmTrigger low{LevelAlarm::warning, 2, CValue{200.0f}, {}, -1, "low", {}, 0};
    client().setAlarms(voltage, {low, above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(voltage, 190.0f);
    client().set(voltage, 250.0f);
    EXPECT_EQ(story(), (Story{"+low", "-low", "+high"}));
}

TEST_P(StoreEventTest, ANewConfigurationRaisesAndClears) {
    client().set(voltage, 250.0f);
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().setAlarms(voltage, {above(LevelAlarm::warning, CValue{245.0f}, "rather high")});
    client().setAlarms(voltage, {});
    EXPECT_EQ(story(), (Story{"+high", "-high", "+rather high", "-rather high"}));
}

TEST_P(StoreEventTest, TheSameConfigurationAgainMakesNoEvent) {
    client().set(voltage, 250.0f);
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    EXPECT_EQ(story(), (Story{"+high"}));
}

TEST_P(StoreEventTest, AlarmsOfAChannelThatGoesAreCleared) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(voltage, 250.0f);
    client().channels().removeAllChannelsExcept(device, {});
    EXPECT_EQ(story(), (Story{"+high", "-high"}));
    EXPECT_EQ(events()[1].channel, voltage);
}

TEST_P(StoreEventTest, AlarmsOfADeviceThatGoesAreCleared) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(voltage, 250.0f);
    client().store().removeAllSubDevicesExcept(ROOT, {}, 10);
    EXPECT_EQ(story(), (Story{"+high", "-high"}));
}

TEST_P(StoreEventTest, AlarmsOfADeviceWhoseSeatIsTakenAreCleared) {
    const auto seat = client().device("old", ROOT, 20);
    const auto channel = client().channel(seat, names::FLOAT32);
    client().setAlarms(channel, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(channel, 250.0f);
    client().device("new", ROOT, 20);
    EXPECT_EQ(story(), (Story{"+high", "-high"}));
}

TEST_P(StoreEventTest, ATriggerThatNamesAStateMakesNoEvent) {
    client().setAlarms(voltage, {above(LevelAlarm::none, CValue{240.0f}, "state")});
    client().set(voltage, 250.0f);
    EXPECT_TRUE(events().empty());
}

TEST_P(StoreEventTest, OnlyTheNewestOfTooManyAreGivenOldestFirst) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    for (int round = 0; round < 3; ++round) {
        client().set(voltage, 250.0f);
        client().set(voltage, 230.0f);
    }
    const auto newest = client().browser().alarmEvents(0, 2);
    ASSERT_EQ(newest.size(), 2u);
    EXPECT_EQ(newest[0].number, 5);
    EXPECT_EQ(newest[1].number, 6);
}

TEST_P(StoreEventTest, EventsBeforeTheAskedTimeAreLeftOut) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(voltage, 250.0f);
    const auto time = events().at(0).timeMs;
    EXPECT_EQ(client().browser().alarmEvents(time, EVERYTHING).size(), 1u);
    EXPECT_TRUE(client().browser().alarmEvents(time + 1, EVERYTHING).empty());
}

TEST_P(StoreEventTest, AnotherClientReadsTheSameEvents) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f}, "high")});
    client().set(voltage, 250.0f);
    EXPECT_EQ(another()->browser().alarmEvents(0, EVERYTHING), events());
}

TEST_P(StoreEventTest, ARecordOfAWriteIsKeptAsItIsWithItsOwnNumber) {
    const WriteRecord asked{
        77,     1'700'000'000'123,      "tess", "alice", "Outlets.1.Setting.AutomaticSwitchOffDelay",
        "30 s", "refused by the device"};
    client().browser().recordWrite(asked);
    client().browser().recordWrite(asked);
    auto expected = asked;
    expected.number = 1;
    ASSERT_EQ(records().size(), 2u);
    EXPECT_EQ(records()[0], expected);
    EXPECT_EQ(records()[1].number, 2);
}

TEST_P(StoreEventTest, RecordsBeforeTheAskedTimeAreLeftOut) {
    client().browser().recordWrite({0, 1000, "tess", "", "a", "1", ""});
    client().browser().recordWrite({0, 2000, "tess", "", "b", "1", ""});
    const auto found = client().browser().writeRecords(1001, EVERYTHING);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].path, "b");
    EXPECT_EQ(client().browser().writeRecords(0, 1).at(0).path, "b");
}

} // namespace
} // namespace tessapi::contract
