#include "tests/platform/tessapi/StoreTest.h"

namespace tessapi::contract {
namespace {

using qz::CAlarmTrigger;
using qz::CValue;

/// What the subscribers of a device's alarms are told.
class StoreAlarmUpdateTest : public StoreTest {
protected:
    void SetUp() override {
        device = client().device("device");
        voltage = client().channel(device, names::FLOAT32);
        source = client().channel(device, names::UINT32);
    }

    static CAlarmTrigger above(LevelAlarm level, CValue threshold, const std::string& code = "") {
        return {level, 1, std::move(threshold), {}, -1, code, {}, 0};
    }

    static std::vector<LevelAlarm> levels(const std::vector<qz::CAlarmUpdate>& updates) {
        std::vector<LevelAlarm> found;
        for (const qz::CAlarmUpdate& update : updates) {
            EXPECT_TRUE(update.present);
            found.push_back(update.level);
        }
        return found;
    }

    using Levels = std::vector<LevelAlarm>;

    std::uint64_t device{UNKNOWN_ID};
    std::uint64_t voltage{UNKNOWN_ID};
    std::uint64_t source{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreAlarmUpdateTest);

TEST_P(StoreAlarmUpdateTest, ARaisedAlarmIsToldWithItsLevelAndDevice) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f})});
    const auto updates = client().watchAlarms(device);
    client().set(voltage, 250.0f);
    const auto told = updates.waitFor(1);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_TRUE(told[0].present);
    EXPECT_EQ(told[0].level, LevelAlarm::critical);
    EXPECT_EQ(told[0].deviceId, device);
}

TEST_P(StoreAlarmUpdateTest, WhoWatchesASeatIsToldWhenAnotherDeviceTakesItWithoutTheAlarms) {
    const auto seat = client().device("old", ROOT, 20);
    const auto channel = client().channel(seat, names::FLOAT32);
    client().setAlarms(channel, {above(LevelAlarm::critical, CValue{240.0f})});
    client().set(channel, 250.0f);
    const auto updates = client().watchAlarms(seat);
    client().device("new", ROOT, 20);
    EXPECT_EQ(levels(updates.waitFor(1)), (Levels{LevelAlarm::good}));
}

TEST_P(StoreAlarmUpdateTest, ASeatWithoutAlarmsIsTakenSilently) {
    const auto seat = client().device("old", ROOT, 20);
    client().channel(seat, names::FLOAT32);
    const auto updates = client().watchAlarms(seat);
    client().device("new", ROOT, 20);
    client().settle();
    EXPECT_TRUE(updates.all().empty());
}

TEST_P(StoreAlarmUpdateTest, NothingIsToldAtSubscription) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f})});
    client().set(voltage, 250.0f);
    const auto updates = client().watchAlarms(device);
    client().settle();
    EXPECT_TRUE(updates.all().empty());
}

TEST_P(StoreAlarmUpdateTest, TheLevelIsGoodWhenNoAlarmIsLeft) {
    client().setAlarms(voltage, {above(LevelAlarm::warning, CValue{240.0f})});
    const auto updates = client().watchAlarms(device);
    client().set(voltage, 250.0f);
    client().set(voltage, 230.0f);
    client().settle();
    EXPECT_EQ(levels(updates.all()), (Levels{LevelAlarm::warning, LevelAlarm::good}));
    EXPECT_EQ(static_cast<std::uint32_t>(LevelAlarm::good), 4u);
}

TEST_P(StoreAlarmUpdateTest, EveryChangeOfTheSetIsToldWithTheMostCriticalLevelAfterIt) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f})});
    client().setAlarms(source, {above(LevelAlarm::warning, CValue{1u})});
    const auto updates = client().watchAlarms(device);
    client().set(source, 1u);      // warning
    client().set(voltage, 250.0f); // warning and critical
    client().set(source, 0u);      // critical
    client().set(source, 1u);      // critical and warning
    client().set(voltage, 230.0f); // warning
    client().settle();
    EXPECT_EQ(levels(updates.all()), (Levels{LevelAlarm::warning, LevelAlarm::critical, LevelAlarm::critical,
                                             LevelAlarm::critical, LevelAlarm::warning}));
}

TEST_P(StoreAlarmUpdateTest, AWriteThatChangesNoAlarmIsNotTold) {
    client().setAlarms(voltage, {above(LevelAlarm::warning, CValue{240.0f})});
    const auto updates = client().watchAlarms(device);
    for (const float value : {230.0f, 231.0f, 250.0f, 250.0f, 251.0f}) {
        client().set(voltage, value);
    }
    client().settle();
    EXPECT_EQ(levels(updates.all()), (Levels{LevelAlarm::warning}));
}

TEST_P(StoreAlarmUpdateTest, ANewConfigurationThatRaisesOrClearsIsTold) {
    client().set(voltage, 250.0f);
    const auto updates = client().watchAlarms(device);
    client().setAlarms(voltage, {above(LevelAlarm::info, CValue{240.0f})});
    client().setAlarms(voltage, {});
    client().settle();
    EXPECT_EQ(levels(updates.all()), (Levels{LevelAlarm::info, LevelAlarm::good}));
}

TEST_P(StoreAlarmUpdateTest, TheSameConfigurationAgainIsNotTold) {
    client().set(voltage, 250.0f);
    client().setAlarms(voltage, {above(LevelAlarm::info, CValue{240.0f}, "a")});
    const auto updates = client().watchAlarms(device);
    client().setAlarms(voltage, {above(LevelAlarm::info, CValue{240.0f}, "a")});
    client().settle();
    EXPECT_TRUE(updates.all().empty());
}

TEST_P(StoreAlarmUpdateTest, ATriggerOfLevel0IsNotTold) {
    client().setAlarms(voltage, {above(LevelAlarm::none, CValue{240.0f})});
    const auto updates = client().watchAlarms(device);
    client().set(voltage, 250.0f);
    client().set(voltage, 230.0f);
    client().settle();
    EXPECT_TRUE(updates.all().empty());
}

TEST_P(StoreAlarmUpdateTest, AlarmsOfOtherDevicesAreNotTold) {
    const std::uint64_t child = client().device("child", device);
    const std::uint64_t channel = client().channel(child, names::FLOAT32);
    client().setAlarms(channel, {above(LevelAlarm::critical, CValue{240.0f})});
    const auto updates = client().watchAlarms(device);
    const auto ofRoot = client().watchAlarms(ROOT);
    client().set(channel, 250.0f);
    client().settle();
    EXPECT_TRUE(updates.all().empty());
    EXPECT_TRUE(ofRoot.all().empty());
}

TEST_P(StoreAlarmUpdateTest, AlarmsRaisedByAnotherClientAreTold) {
    const auto other = another();
    const auto updates = client().watchAlarms(device);
    other->setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f})});
    other->set(voltage, 250.0f);
    EXPECT_EQ(levels(updates.waitFor(1)), (Levels{LevelAlarm::critical}));
    other->set(voltage, 230.0f);
    EXPECT_EQ(levels(updates.waitFor(2)), (Levels{LevelAlarm::critical, LevelAlarm::good}));
}

TEST_P(StoreAlarmUpdateTest, TheAlarmIsThereWhenItsValueIsDelivered) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f})});
    const Recorder<bool> seen;
    client().channels().subscribeMultipleChannels(
        {voltage},
        [this, seen](std::uint64_t, const CValue&) {
            seen.add(client().alarms().getMostCritical(device) != nullptr);
        },
        qz::sub::everyWrite, nullptr);
    client().set(voltage, 250.0f);
    EXPECT_EQ(seen.waitFor(1), (std::vector<bool>{true}));
}

TEST_P(StoreAlarmUpdateTest, TheRemovalOfAChannelClearsItsAlarms) {
    client().setAlarms(voltage, {above(LevelAlarm::critical, CValue{240.0f})});
    client().setAlarms(source, {above(LevelAlarm::warning, CValue{1u})});
    client().set(voltage, 250.0f);
    client().set(source, 1u);
    const auto updates = client().watchAlarms(device);
    client().channels().removeAllChannelsExcept(device, {source});
    client().channels().removeAllChannelsExcept(device, {});
    client().settle();
    EXPECT_EQ(levels(updates.all()), (Levels{LevelAlarm::warning, LevelAlarm::good}));
}

TEST_P(StoreAlarmUpdateTest, TheRemovalOfAChannelWithoutAlarmIsNotTold) {
    client().set(voltage, 250.0f);
    const auto updates = client().watchAlarms(device);
    client().channels().removeAllChannelsExcept(device, {});
    client().settle();
    EXPECT_TRUE(updates.all().empty());
}

} // namespace
} // namespace tessapi::contract
