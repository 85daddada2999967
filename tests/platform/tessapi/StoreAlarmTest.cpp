#include "tests/platform/tessapi/StoreTest.h"

#include <limits>

namespace tessapi::contract {
namespace {

using qz::CAlarmTrigger;
using qz::CTimestamp;
using qz::CValue;

constexpr std::int8_t NEVER = -1;
constexpr std::int8_t UPPER = 1;
constexpr std::int8_t LOWER = 2;
constexpr std::int8_t EQUAL = 3;
constexpr std::int8_t BETWEEN = 4;

/// When a value is an alarm.
class StoreAlarmTest : public StoreTest {
protected:
    void SetUp() override { device = client().device("device"); }

    static CAlarmTrigger trigger(std::int8_t type, CValue threshold1, CValue threshold2 = {}) {
        CAlarmTrigger made;
        made.level = LevelAlarm::warning;
        made.type = type;
        made.threshold1 = std::move(threshold1);
        made.threshold2 = std::move(threshold2);
        return made;
    }

    /// Whether `value`, written to the device's one channel of this name, is an alarm by `watched`.
    bool isAlarm(const std::string& name, const CValue& value, const CAlarmTrigger& watched) {
        const std::uint64_t channel = client().channel(device, name);
        client().channels().removeAllChannelsExcept(device, {channel});
        client().setAlarms(channel, {watched});
        client().channels().setChannelCValue(channel, value);
        return client().alarms().getMostCritical(device) != nullptr;
    }

    bool isAlarm(float value, const CAlarmTrigger& watched) {
        return isAlarm(names::FLOAT32, CValue{value}, watched);
    }

    std::uint64_t device{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreAlarmTest);

TEST_P(StoreAlarmTest, EqualMatchesTheThresholdAlone) {
    EXPECT_FALSE(isAlarm(9.5f, trigger(EQUAL, CValue{10.0f})));
    EXPECT_TRUE(isAlarm(10.0f, trigger(EQUAL, CValue{10.0f})));
    EXPECT_FALSE(isAlarm(10.5f, trigger(EQUAL, CValue{10.0f})));
}

TEST_P(StoreAlarmTest, UpperMatchesFromTheThresholdOn) {
    EXPECT_FALSE(isAlarm(9.5f, trigger(UPPER, CValue{10.0f})));
    EXPECT_TRUE(isAlarm(10.0f, trigger(UPPER, CValue{10.0f})));
    EXPECT_TRUE(isAlarm(10.5f, trigger(UPPER, CValue{10.0f})));
}

TEST_P(StoreAlarmTest, LowerMatchesFromTheThresholdDown) {
    EXPECT_TRUE(isAlarm(9.5f, trigger(LOWER, CValue{10.0f})));
    EXPECT_TRUE(isAlarm(10.0f, trigger(LOWER, CValue{10.0f})));
    EXPECT_FALSE(isAlarm(10.5f, trigger(LOWER, CValue{10.0f})));
}

TEST_P(StoreAlarmTest, BetweenMatchesFromOneThresholdToTheOtherWithBothEnds) {
    const CAlarmTrigger between = trigger(BETWEEN, CValue{10.0f}, CValue{20.0f});
    EXPECT_FALSE(isAlarm(9.5f, between));
    EXPECT_TRUE(isAlarm(10.0f, between));
    EXPECT_TRUE(isAlarm(15.0f, between));
    EXPECT_TRUE(isAlarm(20.0f, between));
    EXPECT_FALSE(isAlarm(20.5f, between));
    EXPECT_FALSE(isAlarm(15.0f, trigger(BETWEEN, CValue{20.0f}, CValue{10.0f})));
}

TEST_P(StoreAlarmTest, NeverMatchesNothing) {
    EXPECT_FALSE(isAlarm(10.0f, trigger(NEVER, CValue{10.0f}, CValue{10.0f})));
}

TEST_P(StoreAlarmTest, AnInvalidThresholdNeverMatches) {
    for (const std::int8_t type : {UPPER, LOWER, EQUAL, BETWEEN}) {
        EXPECT_FALSE(isAlarm(0.0f, trigger(type, {}, CValue{10.0f}))) << int{type};
    }
    EXPECT_FALSE(isAlarm(10.0f, trigger(BETWEEN, CValue{10.0f}, {})));
}

TEST_P(StoreAlarmTest, TheSecondThresholdCountsBetweenAlone) {
    EXPECT_TRUE(isAlarm(15.0f, trigger(UPPER, CValue{10.0f}, CValue{12.0f})));
    EXPECT_TRUE(isAlarm(5.0f, trigger(LOWER, CValue{10.0f}, CValue{12.0f})));
    EXPECT_FALSE(isAlarm(12.0f, trigger(EQUAL, CValue{10.0f}, CValue{12.0f})));
}

TEST_P(StoreAlarmTest, NumbersOfAllKindsCompare) {
    const CValue ten[] = {CValue{std::int32_t{10}},
                          CValue{std::int64_t{10}},
                          CValue{10u},
                          CValue{std::uint64_t{10}},
                          CValue{10.0f},
                          CValue{10.0},
                          CValue{CTimestamp{10}}};
    for (const CValue& threshold : ten) {
        EXPECT_TRUE(isAlarm(names::UINT32, CValue{10u}, trigger(EQUAL, threshold))) << threshold;
        EXPECT_TRUE(isAlarm(names::INT32, CValue{std::int32_t{-1}}, trigger(LOWER, threshold))) << threshold;
        EXPECT_FALSE(isAlarm(names::INT32, CValue{std::int32_t{11}}, trigger(EQUAL, threshold)));
        EXPECT_TRUE(isAlarm(names::FLOAT32, CValue{10.5f}, trigger(UPPER, threshold))) << threshold;
    }
}

TEST_P(StoreAlarmTest, NumbersCompareAsDouble) {
    EXPECT_FALSE(isAlarm(0.1f, trigger(EQUAL, CValue{0.1}))) << "0.1f is another double than 0.1";
    EXPECT_TRUE(isAlarm(0.1f, trigger(EQUAL, CValue{0.1f})));
    EXPECT_TRUE(isAlarm(names::UINT32, CValue{4294967295u}, trigger(UPPER, CValue{std::int32_t{-1}})));
}

TEST_P(StoreAlarmTest, ABooleanCountsAsZeroOrOne) {
    EXPECT_TRUE(isAlarm(names::BOOLEAN, CValue{true}, trigger(EQUAL, CValue{1u})));
    EXPECT_FALSE(isAlarm(names::BOOLEAN, CValue{false}, trigger(EQUAL, CValue{1u})));
    EXPECT_TRUE(isAlarm(names::BOOLEAN, CValue{false}, trigger(EQUAL, CValue{0.0f})));
    EXPECT_TRUE(isAlarm(names::BOOLEAN, CValue{true}, trigger(EQUAL, CValue{true})));
    EXPECT_TRUE(isAlarm(names::BOOLEAN, CValue{true}, trigger(UPPER, CValue{0.5f})));
    EXPECT_FALSE(isAlarm(names::BOOLEAN, CValue{false}, trigger(UPPER, CValue{true})));
}

TEST_P(StoreAlarmTest, ATimestampCountsAsItsSeconds) {
    const CValue value{CTimestamp{1700000000}};
    EXPECT_TRUE(isAlarm(names::TIMESTAMP, value, trigger(UPPER, CValue{CTimestamp{1700000000}})));
    EXPECT_TRUE(isAlarm(names::TIMESTAMP, value, trigger(LOWER, CValue{1700000000u})));
    EXPECT_FALSE(isAlarm(names::TIMESTAMP, value, trigger(UPPER, CValue{1700000001u})));
}

TEST_P(StoreAlarmTest, TextsCompareForEqualityAlone) {
    EXPECT_TRUE(isAlarm(names::STRING, CValue{"b"}, trigger(EQUAL, CValue{"b"})));
    EXPECT_FALSE(isAlarm(names::STRING, CValue{"B"}, trigger(EQUAL, CValue{"b"})));
    EXPECT_FALSE(isAlarm(names::STRING, CValue{"b"}, trigger(UPPER, CValue{"a"})));
    EXPECT_FALSE(isAlarm(names::STRING, CValue{"b"}, trigger(UPPER, CValue{"b"})));
    EXPECT_FALSE(isAlarm(names::STRING, CValue{"b"}, trigger(LOWER, CValue{"b"})));
    EXPECT_FALSE(isAlarm(names::STRING, CValue{"b"}, trigger(BETWEEN, CValue{"a"}, CValue{"c"})));
}

TEST_P(StoreAlarmTest, ATextNeverMatchesANumber) {
    EXPECT_FALSE(isAlarm(names::STRING, CValue{"10"}, trigger(EQUAL, CValue{10u})));
    EXPECT_FALSE(isAlarm(names::UINT32, CValue{10u}, trigger(EQUAL, CValue{"10"})));
}

TEST_P(StoreAlarmTest, ANumberThatIsNoneMatchesNothing) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    for (const std::int8_t type : {UPPER, LOWER, EQUAL}) {
        EXPECT_FALSE(isAlarm(none, trigger(type, CValue{10.0f}))) << int{type};
        EXPECT_FALSE(isAlarm(10.0f, trigger(type, CValue{none}))) << int{type};
    }
}

TEST_P(StoreAlarmTest, ATriggerOfLevel0IsNeverAnAlarm) {
    CAlarmTrigger state = trigger(EQUAL, CValue{10.0f});
    state.level = LevelAlarm::none;
    EXPECT_FALSE(isAlarm(10.0f, state));
}

TEST_P(StoreAlarmTest, AChannelWithoutAValueHasNoAlarm) {
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    client().setAlarms(channel, {trigger(EQUAL, CValue{0.0f}), trigger(LOWER, CValue{1.0f})});
    EXPECT_EQ(client().alarms().getMostCritical(device), nullptr);
    EXPECT_TRUE(client().record(channel).activeAlarms.empty());
}

TEST_P(StoreAlarmTest, ThePresentValueIsEvaluatedByANewConfiguration) {
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    client().set(channel, 240.0f);
    client().setAlarms(channel, {trigger(UPPER, CValue{235.0f})});
    EXPECT_NE(client().alarms().getMostCritical(device), nullptr);
    client().setAlarms(channel, {trigger(UPPER, CValue{250.0f})});
    EXPECT_EQ(client().alarms().getMostCritical(device), nullptr);
    client().setAlarms(channel, {trigger(UPPER, CValue{235.0f})});
    client().setAlarms(channel, {});
    EXPECT_EQ(client().alarms().getMostCritical(device), nullptr);
}

TEST_P(StoreAlarmTest, EveryWriteIsEvaluatedWhicheverClientWrites) {
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    client().setAlarms(channel, {trigger(UPPER, CValue{235.0f})});
    const auto other = another();
    other->set(channel, 240.0f);
    EXPECT_NE(client().alarms().getMostCritical(device), nullptr);
    client().set(channel, 230.0f);
    EXPECT_EQ(other->alarms().getMostCritical(device), nullptr);
}

TEST_P(StoreAlarmTest, TheConfigurationIsKeptAsItWasGiven) {
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    const std::vector<CAlarmTrigger> triggers{
        {LevelAlarm::critical, BETWEEN, CValue{1.5f}, CValue{2u}, 7, "code \xC2\xB0", {}, 0},
        {LevelAlarm::none, EQUAL, CValue{"text"}, {}, -1, "", {}, 0},
        {LevelAlarm::info, NEVER, {}, CValue{true}, 0, "x", {}, 0},
    };
    client().setAlarms(channel, triggers);
    EXPECT_EQ(another()->record(channel).alarmConfig.triggers, triggers);
}

TEST_P(StoreAlarmTest, AnActiveAlarmTellsItsTrigger) {
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    client().setAlarms(channel, {{LevelAlarm::critical, UPPER, CValue{235.0f}, {}, 3, "A017", {}, 0}});
    client().set(channel, 240.0f);
    const auto alarm = client().alarms().getMostCritical(device);
    ASSERT_NE(alarm, nullptr);
    EXPECT_TRUE(alarm->present);
    EXPECT_EQ(alarm->level, LevelAlarm::critical);
    EXPECT_EQ(alarm->priority, 3);
    EXPECT_EQ(alarm->code, "A017");
    EXPECT_EQ(alarm->channel, channel);
}

TEST_P(StoreAlarmTest, TheAlarmsOfARemovedChannelAreGone) {
    EXPECT_TRUE(isAlarm(10.0f, trigger(UPPER, CValue{1.0f})));
    client().channels().removeAllChannelsExcept(device, {});
    EXPECT_EQ(client().alarms().getMostCritical(device), nullptr);
}

} // namespace
} // namespace tessapi::contract
