#include "platform/qz/CMultistateMap.h"

#include <gtest/gtest.h>

namespace {

using qz::CMultistateMap;
using qz::CTimestamp;
using qz::CValue;

std::string nameOf(const CMultistateMap& states, const CValue& key) {
    const std::string* name = states.find(key);
    return name == nullptr ? "(none)" : *name;
}

TEST(CMultistateMapTest, IsEmptyAtFirst) {
    const CMultistateMap states;
    EXPECT_TRUE(states.empty());
    EXPECT_EQ(states.find(CValue{1u}), nullptr);
}

TEST(CMultistateMapTest, StatesKeepTheOrderInWhichTheyWereAdded) {
    CMultistateMap states;
    states.add(CValue{2u}, "high voltage");
    states.add(CValue{1u}, "low voltage");
    ASSERT_EQ(states.entries().size(), 2u);
    EXPECT_EQ(states.entries()[0], (CMultistateMap::Entry{CValue{2u}, "high voltage"}));
    EXPECT_EQ(states.entries()[1], (CMultistateMap::Entry{CValue{1u}, "low voltage"}));
}

TEST(CMultistateMapTest, AKeyThatIsThereAlreadyGetsTheNewNameAndKeepsItsPlace) {
    CMultistateMap states;
    states.add(CValue{1u}, "off");
    states.add(CValue{2u}, "on");
    states.add(CValue{1u}, "out");
    ASSERT_EQ(states.entries().size(), 2u);
    EXPECT_EQ(states.entries()[0].second, "out");
}

TEST(CMultistateMapTest, KeysCompareAsNumbersAcrossKinds) {
    CMultistateMap states;
    states.add(CValue{1u}, "one");
    EXPECT_EQ(nameOf(states, CValue{std::int32_t{1}}), "one");
    EXPECT_EQ(nameOf(states, CValue{std::uint64_t{1}}), "one");
    EXPECT_EQ(nameOf(states, CValue{1.0f}), "one");
    EXPECT_EQ(nameOf(states, CValue{true}), "one");
    EXPECT_EQ(nameOf(states, CValue{CTimestamp{1}}), "one");
    EXPECT_EQ(nameOf(states, CValue{2u}), "(none)");
    states.add(CValue{true}, "yes");
    ASSERT_EQ(states.entries().size(), 1u);
    EXPECT_EQ(states.entries()[0], (CMultistateMap::Entry{CValue{1u}, "yes"}));
}

TEST(CMultistateMapTest, TextsCompareAsTextsOnly) {
    CMultistateMap states;
    states.add(CValue{"1"}, "text");
    EXPECT_EQ(nameOf(states, CValue{"1"}), "text");
    EXPECT_EQ(nameOf(states, CValue{1u}), "(none)");
    EXPECT_EQ(nameOf(states, CValue{"01"}), "(none)");
}

TEST(CMultistateMapTest, MapsAreEqualWhenStatesNamesAndOrderAre) {
    CMultistateMap a;
    a.add(CValue{1u}, "off");
    a.add(CValue{2u}, "on");
    CMultistateMap b;
    b.add(CValue{2u}, "on");
    EXPECT_FALSE(a == b);
    b.add(CValue{1u}, "off");
    EXPECT_FALSE(a == b);
    CMultistateMap c{a};
    EXPECT_TRUE(a == c);
    c.add(CValue{1u}, "out");
    EXPECT_FALSE(a == c);
}

} // namespace
