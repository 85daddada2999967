#include "tests/platform/tessapi/StoreTest.h"

namespace tessapi::contract {
namespace {

using qz::CAlarmTrigger;
using qz::CValue;

/// Which of several active alarms of a device counts.
class StoreMostCriticalTest : public StoreTest {
protected:
    void SetUp() override {
        device = client().device("device");
        lower = client().channel(device, names::UINT32);
        higher = client().channel(device, names::LABELLED);
        ASSERT_LT(lower, higher);
        client().set(lower, 1u);
        client().set(higher, 1u);
    }

    /// A trigger that is active while the value is 1.
    static CAlarmTrigger alarm(LevelAlarm level, std::int32_t priority, const std::string& code) {
        return {level, 3, CValue{1u}, {}, priority, code, {}, 0};
    }

    /// The code of the most critical alarm of the device; "(none)" when there is none.
    std::string mostCritical() {
        const auto found = client().alarms().getMostCritical(device);
        return found == nullptr ? "(none)" : found->code;
    }

    std::uint64_t device{UNKNOWN_ID};
    std::uint64_t lower{UNKNOWN_ID};
    std::uint64_t higher{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreMostCriticalTest);

TEST_P(StoreMostCriticalTest, WithoutAlarmThereIsNone) {
    EXPECT_EQ(client().alarms().getMostCritical(device), nullptr);
}

TEST_P(StoreMostCriticalTest, TheGreatestLevelComesFirst) {
    client().setAlarms(lower, {alarm(LevelAlarm::good, 0, "good"), alarm(LevelAlarm::warning, 0, "warning")});
    client().setAlarms(higher, {alarm(LevelAlarm::info, 0, "info")});
    EXPECT_EQ(mostCritical(), "warning");
    client().setAlarms(higher, {alarm(LevelAlarm::critical, -1, "critical")});
    EXPECT_EQ(mostCritical(), "critical");
}

TEST_P(StoreMostCriticalTest, AmongEqualLevelsTheSmallestPriorityComesFirst) {
    client().setAlarms(lower, {alarm(LevelAlarm::warning, 5, "5"), alarm(LevelAlarm::warning, 2, "2")});
    client().setAlarms(higher, {alarm(LevelAlarm::warning, 0, "0"), alarm(LevelAlarm::warning, 1, "1")});
    EXPECT_EQ(mostCritical(), "0");
}

TEST_P(StoreMostCriticalTest, WithoutPriorityIsAfterAllOthers) {
    client().setAlarms(lower, {alarm(LevelAlarm::warning, -1, "-1")});
    client().setAlarms(higher, {alarm(LevelAlarm::warning, 2147483647, "last")});
    EXPECT_EQ(mostCritical(), "last");
}

TEST_P(StoreMostCriticalTest, AmongEqualPrioritiesTheLowestChannelComesFirst) {
    client().setAlarms(higher, {alarm(LevelAlarm::warning, 1, "higher")});
    client().setAlarms(lower, {alarm(LevelAlarm::warning, 1, "lower")});
    EXPECT_EQ(mostCritical(), "lower");
}

TEST_P(StoreMostCriticalTest, OnOneChannelTheOrderOfTheTriggersDecidesLast) {
    client().setAlarms(lower,
                       {alarm(LevelAlarm::warning, 1, "first"), alarm(LevelAlarm::warning, 1, "second")});
    EXPECT_EQ(mostCritical(), "first");
    client().setAlarms(lower,
                       {alarm(LevelAlarm::warning, -1, "first"), alarm(LevelAlarm::warning, -1, "second")});
    EXPECT_EQ(mostCritical(), "first");
}

TEST_P(StoreMostCriticalTest, TheNextOneFollowsWhenTheFirstIsGone) {
    client().setAlarms(lower, {alarm(LevelAlarm::critical, 1, "critical")});
    client().setAlarms(higher, {alarm(LevelAlarm::warning, 1, "warning")});
    client().set(lower, 0u);
    EXPECT_EQ(mostCritical(), "warning");
    client().set(higher, 0u);
    EXPECT_EQ(mostCritical(), "(none)");
}

TEST_P(StoreMostCriticalTest, DevicesAboveAndBelowDoNotCount) {
    const std::uint64_t child = client().device("child", device);
    const std::uint64_t channel = client().channel(child, names::UINT32);
    client().set(channel, 1u);
    client().setAlarms(channel, {alarm(LevelAlarm::critical, 0, "child")});
    EXPECT_EQ(mostCritical(), "(none)");
    EXPECT_EQ(client().alarms().getMostCritical(ROOT), nullptr);
    EXPECT_NE(client().alarms().getMostCritical(child), nullptr);
}

TEST_P(StoreMostCriticalTest, TheRecordOfAChannelListsItsActiveAlarmsInThatOrder) {
    client().setAlarms(lower,
                       {alarm(LevelAlarm::info, 0, "info"), alarm(LevelAlarm::none, 0, "state"),
                        alarm(LevelAlarm::critical, -1, "late"), alarm(LevelAlarm::critical, 4, "early")});
    std::vector<std::string> codes;
    for (const ActiveAlarm& active : client().record(lower).activeAlarms) {
        codes.push_back(active.code);
        EXPECT_TRUE(active.present);
        EXPECT_EQ(active.channel, lower);
    }
    EXPECT_EQ(codes, (std::vector<std::string>{"early", "late", "info"}));
}

} // namespace
} // namespace tessapi::contract
