#include "platform/tessapi/engine/AlarmEvaluator.h"

#include "platform/tessapi/LevelAlarm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

using qz::CValue;
using tessapi::LevelAlarm;
using tessapi::AlarmEvaluator::isActive;

qz::CAlarmTrigger trigger(std::int8_t type, CValue low, CValue high = {}) {
    qz::CAlarmTrigger made;
    made.level = LevelAlarm::good;
    made.type = type;
    made.threshold1 = std::move(low);
    made.threshold2 = std::move(high);
    return made;
}

TEST(AlarmEvaluatorTest, LevelZeroNamesAStateAndIsNeverAnAlarm) {
    auto named = trigger(3, CValue{1U});
    EXPECT_TRUE(isActive(named, CValue{1U}));
    named.level = LevelAlarm::none;
    EXPECT_FALSE(isActive(named, CValue{1U}));
}

TEST(AlarmEvaluatorTest, BooleansCompareAsZeroAndOne) {
    EXPECT_TRUE(isActive(trigger(3, CValue{true}), CValue{1.0F}));
    EXPECT_TRUE(isActive(trigger(1, CValue{1U}), CValue{true}));
    EXPECT_FALSE(isActive(trigger(1, CValue{1U}), CValue{false}));
}

TEST(AlarmEvaluatorTest, TextsCompareWithTextsForEqualityOnly) {
    EXPECT_TRUE(isActive(trigger(3, CValue{"a"}), CValue{"a"}));
    EXPECT_FALSE(isActive(trigger(3, CValue{"a"}), CValue{"b"}));
    EXPECT_FALSE(isActive(trigger(3, CValue{"1"}), CValue{1U}));
    EXPECT_FALSE(isActive(trigger(3, CValue{1U}), CValue{"1"}));
    EXPECT_FALSE(isActive(trigger(1, CValue{"a"}), CValue{"a"}));
    EXPECT_FALSE(isActive(trigger(2, CValue{"a"}), CValue{"a"}));
    EXPECT_FALSE(isActive(trigger(4, CValue{"a"}, CValue{"a"}), CValue{"a"}));
}

TEST(AlarmEvaluatorTest, NothingMatchesAnInvalidValueOrThreshold) {
    for (const std::int8_t type : {1, 2, 3, 4}) {
        EXPECT_FALSE(isActive(trigger(type, CValue{0U}, CValue{0U}), CValue{})) << int{type};
        EXPECT_FALSE(isActive(trigger(type, CValue{}, CValue{0U}), CValue{0U})) << int{type};
    }
    EXPECT_FALSE(isActive(trigger(3, CValue{}), CValue{}));
    EXPECT_FALSE(isActive(trigger(4, CValue{0U}, CValue{}), CValue{0U}));
}

TEST(AlarmEvaluatorTest, NotANumberIsNoAlarm) {
    for (const std::int8_t type : {1, 2, 3, 4}) {
        EXPECT_FALSE(isActive(trigger(type, CValue{0.0}, CValue{1.0}), CValue{std::nan("")})) << int{type};
    }
}

TEST(AlarmEvaluatorTest, UnknownTypesNeverMatch) {
    for (const std::int8_t type : {-1, 0, 5}) {
        EXPECT_FALSE(isActive(trigger(type, CValue{1U}, CValue{1U}), CValue{1U})) << int{type};
    }
}

} // namespace
