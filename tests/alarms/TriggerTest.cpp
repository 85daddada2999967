#include "powerdistribution/alarms/Trigger.h"

#include "powerdistribution/alarms/AlarmConfig.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velk::powerdistribution {
namespace {

using Type = Trigger::Type;
using Level = Trigger::Level;

template <typename T>
std::string printed(const T& object) {
    std::ostringstream stream;
    stream << object;
    return stream.str();
}

TEST(TriggerTest, EveryTypeHasItsTextAndIsFoundByIt) {
    const std::vector<std::pair<Type, std::string>> table{{Type::none, "none"},
                                                          {Type::value, "value"},
                                                          {Type::lower, "lower"},
                                                          {Type::upper, "upper"},
                                                          {Type::inbetween, "inbetween"}};
    std::uint32_t number = 0;
    for (const auto& [type, text] : table) {
        EXPECT_EQ(number++, static_cast<std::uint32_t>(type));
        EXPECT_EQ(text, Trigger::to_string(type));
        Type found{Type::invalid};
        Trigger::from_string(text, found);
        EXPECT_EQ(type, found);
    }
}

TEST(TriggerTest, EveryLevelHasItsTextAndIsFoundByIt) {
    const std::vector<std::pair<Level, std::string>> table{{Level::none, "none"},
                                                           {Level::good, "good"},
                                                           {Level::info, "info"},
                                                           {Level::warning, "warning"},
                                                           {Level::critical, "critical"}};
    std::uint32_t number = 0;
    for (const auto& [level, text] : table) {
        EXPECT_EQ(number++, static_cast<std::uint32_t>(level));
        EXPECT_EQ(text, Trigger::to_string(level));
        Level found{Level::invalid};
        Trigger::from_string(text, found);
        EXPECT_EQ(level, found);
    }
}

TEST(TriggerTest, NumbersBeyondTheTablesAreUnknown) {
    EXPECT_EQ("UNKNOWN", Trigger::to_string(static_cast<Type>(5)));
    EXPECT_EQ("UNKNOWN", Trigger::to_string(static_cast<Level>(5)));
    EXPECT_EQ("UNKNOWN", Trigger::to_string(static_cast<Level>(1000)));
}

TEST(TriggerTest, TextsAreComparedExactly) {
    for (const char* text : {"Value", "value ", "", "UNKNOWN", "error"}) {
        Type type{Type::none};
        Trigger::from_string(text, type);
        EXPECT_EQ(5u, static_cast<std::uint32_t>(type)) << text;
        Level level{Level::none};
        Trigger::from_string(text, level);
        EXPECT_EQ(5u, static_cast<std::uint32_t>(level)) << text;
    }
}

TEST(TriggerTest, ANewTriggerHasNoPriorityAndNoThresholds) {
    const Trigger trigger;
    EXPECT_EQ(Level::none, trigger.level);
    EXPECT_EQ(-1, trigger.priority);
    EXPECT_FALSE(trigger.threshold1.hasValue());
    EXPECT_FALSE(trigger.threshold2.hasValue());
}

TEST(TriggerTest, PrintsEveryFieldButTheReference) {
    const Trigger trigger{Type::upper, Level::critical, 3,          Value{2.5f},
                          {},          "high",          "Too high", "Setting.VoltageHighCriticalThreshold"};
    EXPECT_EQ("Trigger(type=upper, level=critical, priority=3, threshold1=2.5, threshold2=empty, code=high, "
              "message=Too high)",
              printed(trigger));
}

TEST(AlarmConfigTest, PrintsEachTriggerFollowedByABlank) {
    const std::string none = printed(Trigger{});
    EXPECT_EQ("AlarmConfig([ ])", printed(AlarmConfig{}));
    EXPECT_EQ("AlarmConfig([ " + none + " " + none + " ])", printed(AlarmConfig{{Trigger{}, Trigger{}}}));
}

} // namespace
} // namespace velk::powerdistribution
