#include "powerdistribution/alarms/AlarmConversions.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace velk::powerdistribution::connectors {
namespace {

using tessapi::LevelAlarm;

std::string refusalOf(const Value& value) {
    try {
        toQz(value);
    } catch (const std::invalid_argument& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(AlarmConversionsTest, LevelsHaveTheStoresNumbersBothWays) {
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> table{{0, 0}, {1, 4}, {2, 5}, {3, 6}, {4, 7}};
    for (const auto& [own, stored] : table) {
        EXPECT_EQ(stored, static_cast<std::uint32_t>(toQz(static_cast<Trigger::Level>(own))));
        EXPECT_EQ(own, static_cast<std::uint32_t>(fromQz(static_cast<LevelAlarm>(stored))));
    }
}

TEST(AlarmConversionsTest, LevelsBeyondTheTableAreNone) {
    EXPECT_EQ(LevelAlarm::none, toQz(static_cast<Trigger::Level>(5)));
    for (const std::uint32_t stored : {1u, 3u, 8u, 1000u}) {
        EXPECT_EQ(Trigger::Level::none, fromQz(static_cast<LevelAlarm>(stored))) << stored;
    }
}

TEST(AlarmConversionsTest, TypesHaveTheStoresNumbers) {
    EXPECT_EQ(3, toQz(Trigger::Type::value));
    EXPECT_EQ(2, toQz(Trigger::Type::lower));
    EXPECT_EQ(1, toQz(Trigger::Type::upper));
    EXPECT_EQ(4, toQz(Trigger::Type::inbetween));
}

TEST(AlarmConversionsTest, TypesThatCompareNothingAreNever) {
    EXPECT_EQ(-1, toQz(Trigger::Type::none));
    EXPECT_EQ(-1, toQz(static_cast<Trigger::Type>(5)));
}

TEST(AlarmConversionsTest, ValuesKeepTheirKind) {
    EXPECT_FALSE(toQz(Value{}).isValid());
    EXPECT_EQ(qz::CValue{true}, toQz(Value{true}));
    EXPECT_EQ(qz::CValue{std::int32_t{-1}}, toQz(Value{std::int32_t{-1}}));
    EXPECT_EQ(qz::CValue{std::uint32_t{1}}, toQz(Value{1u}));
    EXPECT_EQ(qz::CValue{1.5f}, toQz(Value{1.5f}));
    EXPECT_EQ(qz::CValue{"text"}, toQz(Value{std::string{"text"}}));
}

TEST(AlarmConversionsTest, ATimeBecomesATimestampWithItsFormat) {
    const qz::CTimestamp stamp = toQz(Value{conv::UnixTime{4'000'000'000u}}).as_timestamp();
    EXPECT_EQ(4'000'000'000, stamp.seconds);
    EXPECT_EQ("%F %T", stamp.format);
}

TEST(AlarmConversionsTest, APathBecomesItsText) {
    EXPECT_EQ(qz::CValue{"Inputs.1"}, toQz(Value{EPath{ECircuit::Inputs, 1u}}));
    EXPECT_EQ(qz::CValue{"Null"}, toQz(Value{EPath{}}));
}

TEST(AlarmConversionsTest, WhatTheStoreCannotHoldIsRefused) {
    EXPECT_EQ("Unexpected conversion from UUID to qz::CValue", refusalOf(velk::common::Uuid{}));
    EXPECT_EQ("Unexpected conversion from BinaryBlock to qz::CValue", refusalOf(BinaryBlock{1}));
    EXPECT_EQ("Unexpected conversion from InternalLogChunk to qz::CValue", refusalOf(InternalLogChunk{}));
}

TEST(AlarmConversionsTest, ATriggerIsConvertedFieldByField) {
    const Trigger trigger{Trigger::Type::inbetween,
                          Trigger::Level::warning,
                          4,
                          Value{1.0f},
                          Value{2.0f},
                          "code",
                          "message",
                          "ref"};
    const qz::CAlarmTrigger converted = toQz(trigger);
    EXPECT_EQ(LevelAlarm::warning, converted.level);
    EXPECT_EQ(4, converted.type);
    EXPECT_EQ(qz::CValue{1.0f}, converted.threshold1);
    EXPECT_EQ(qz::CValue{2.0f}, converted.threshold2);
    EXPECT_EQ(4, converted.priority);
    EXPECT_EQ("code", converted.code);
    EXPECT_FALSE(converted.extra.isValid());
    EXPECT_EQ(0u, converted.extraWord);
}

TEST(AlarmConversionsTest, AConfigurationKeepsTheOrderOfItsTriggers) {
    Trigger first;
    first.code = "first";
    Trigger second;
    second.code = "second";
    const qz::tess::CSingleAlarmConfig converted = toQz(AlarmConfig{{first, second}});
    EXPECT_EQ(~std::uint64_t{0}, converted.id);
    ASSERT_EQ(2u, converted.triggers.size());
    EXPECT_EQ("first", converted.triggers[0].code);
    EXPECT_EQ("second", converted.triggers[1].code);
}

TEST(AlarmConversionsTest, AnEmptyConfigurationHasNoTriggersAndTheAllOnesIdentifier) {
    const qz::tess::CSingleAlarmConfig converted = toQz(AlarmConfig{});
    EXPECT_EQ(~std::uint64_t{0}, converted.id);
    EXPECT_TRUE(converted.triggers.empty());
}

TEST(AlarmConversionsTest, AThresholdThatCannotBeConvertedFailsTheWholeConfiguration) {
    Trigger trigger;
    trigger.threshold1 = velk::common::Uuid{};
    EXPECT_THROW(toQz(AlarmConfig{{Trigger{}, trigger}}), std::invalid_argument);
    EXPECT_THROW(makeMultiStateMap(AlarmConfig{{trigger}}), std::invalid_argument);
}

TEST(AlarmConversionsTest, TriggersNameTheStatesOfTheirThresholds) {
    Trigger off;
    off.threshold1 = Value{0u};
    off.message = "off";
    Trigger on;
    on.threshold1 = Value{1u};
    on.message = "on";
    const qz::CMultistateMap states = makeMultiStateMap(AlarmConfig{{on, off}});
    ASSERT_EQ(2u, states.entries().size());
    EXPECT_EQ("on", states.entries()[0].second);
    EXPECT_EQ("off", *states.find(qz::CValue{0u}));
}

TEST(AlarmConversionsTest, BothOfTwoTriggersWithOneThresholdReachTheMap) {
    Trigger first;
    first.threshold1 = Value{1u};
    first.message = "first";
    Trigger second = first;
    second.message = "second";
    const qz::CMultistateMap states = makeMultiStateMap(AlarmConfig{{first, second}});
    EXPECT_EQ("second", *states.find(qz::CValue{1u}));
}

} // namespace
} // namespace velk::powerdistribution::connectors
