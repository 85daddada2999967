#include "platform/tessapi/network/Outbox.h"

#include "platform/tessapi/network/ChannelMemory.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace tessapi::network {
namespace {

using qz::CValue;
using Values = std::vector<std::int32_t>;

Change write(std::uint64_t channel, std::int32_t value) {
    return {0, Change::Kind::value, channel, CValue{value}, value};
}

/// The values of all batches, in the order in which they go.
Values emptied(Outbox& outbox) {
    Values values;
    for (std::uint64_t number = 1000; !outbox.isEmpty(); ++number) {
        const auto& batch = outbox.next(number);
        for (const auto& change : batch.changes) {
            values.push_back(change.value.as_int32());
        }
        outbox.drop(batch.number);
    }
    return values;
}

TEST(OutboxTest, OfAMeasuredValueTheNewestIsKept) {
    Outbox outbox;
    for (std::int32_t i = 1; i <= 3; ++i) {
        outbox.add(write(1, i), false);
        outbox.add(write(2, 10 * i), false);
    }
    EXPECT_EQ(outbox.size(), 2U);
    EXPECT_EQ(emptied(outbox), (Values{3, 30}));
}

TEST(OutboxTest, ChannelsAreCountedOnceWhetherTheirWritesWereSentOrNot) {
    Outbox outbox;
    EXPECT_EQ(outbox.channels(), 0U);
    outbox.addSent({1, false, {write(1, 1), write(2, 1)}});
    for (std::int32_t i = 1; i <= 3; ++i) {
        outbox.add(write(2, i), true);
        outbox.add(write(3, i), false);
    }
    EXPECT_EQ(outbox.size(), 6U);
    EXPECT_EQ(outbox.channels(), 3U);
}

TEST(OutboxTest, EveryWriteOfAnOrderedChannelIsKeptInOrder) {
    Outbox outbox;
    outbox.add(write(1, 1), true);
    outbox.add(write(2, 20), false);
    outbox.add(write(1, 2), true);
    outbox.add(write(2, 21), false);
    outbox.add(write(1, 1), true);
    EXPECT_EQ(emptied(outbox), (Values{1, 2, 21, 1}));
}

TEST(OutboxTest, OfTooManyOrderedWritesTheOldestGoAndAreCounted) {
    Outbox outbox;
    outbox.add(write(2, -1), false);
    for (std::size_t i = 0; i < Outbox::MOST + 3; ++i) {
        outbox.add(write(1, static_cast<std::int32_t>(i)), true);
    }
    EXPECT_EQ(outbox.takeLost(), 3U);
    EXPECT_EQ(outbox.takeLost(), 0U);
    const auto values = emptied(outbox);
    ASSERT_EQ(values.size(), Outbox::MOST + 1);
    EXPECT_EQ(values[0], -1) << "measured values do not count";
    EXPECT_EQ(values[1], 3);
}

TEST(OutboxTest, OfLongOrderedWritesAsManyAreKeptAsThereAreBytesFor) {
    const auto text = [](char letter) {
        return Change{0, Change::Kind::value, 1, CValue{std::string(Outbox::MOST_BYTES / 4, letter)}, 0};
    };
    Outbox outbox;
    for (const char letter : {'a', 'b', 'c', 'd', 'e'}) {
        outbox.add(text(letter), true);
    }
    EXPECT_EQ(outbox.takeLost(), 2U);
    EXPECT_EQ(outbox.size(), 3U);
    EXPECT_EQ(outbox.next(1).changes.at(0).value.as_string().front(), 'c');
    outbox.drop(1);
    for (const char letter : {'f', 'g', 'h'}) {
        outbox.add(text(letter), true);
    }
    EXPECT_EQ(outbox.takeLost(), 0U) << "what has left takes no room any more";
    outbox.add({0, Change::Kind::value, 1, CValue{std::string(2 * Outbox::MOST_BYTES, 'x')}, 0}, true);
    EXPECT_EQ(outbox.takeLost(), 3U);
    EXPECT_EQ(outbox.size(), 1U) << "one is kept, however long it is";
}

TEST(OutboxTest, ABatchStaysAsItWasSentUntilItIsDropped) {
    Outbox outbox;
    outbox.add(write(1, 1), false);
    EXPECT_FALSE(outbox.next(7).afterGap);
    outbox.next(7).afterGap = true;
    outbox.add(write(1, 2), false);
    const auto& again = outbox.next(8);
    EXPECT_EQ(again.number, 7U);
    EXPECT_TRUE(again.afterGap);
    EXPECT_EQ(again.changes.at(0).value, CValue{1});
    outbox.drop(6);
    EXPECT_EQ(outbox.next(8).number, 7U) << "it was another one";
    outbox.drop(7);
    EXPECT_EQ(outbox.next(8).number, 8U);
    EXPECT_EQ(emptied(outbox), (Values{2}));
}

TEST(OutboxTest, WhatWasSentGoesFirstByItsNumbersAndOnce) {
    Outbox outbox;
    outbox.add(write(1, 4), true);
    outbox.addSent({12, false, {write(1, 3)}});
    outbox.addSent({10, false, {write(1, 1)}});
    outbox.addSent({11, false, {write(1, 2)}});
    outbox.addSent({10, false, {write(1, 1)}});
    EXPECT_EQ(outbox.size(), 4U);
    EXPECT_EQ(outbox.next(13).number, 10U);
    EXPECT_EQ(emptied(outbox), (Values{1, 2, 3, 4}));
}

TEST(OutboxTest, ManyWritesGoInBatches) {
    Outbox outbox;
    for (std::int32_t i = 0; i < 250; ++i) {
        outbox.add(write(static_cast<std::uint64_t>(i), i), false);
    }
    EXPECT_EQ(outbox.next(1).changes.size(), Outbox::BATCH);
    EXPECT_EQ(emptied(outbox).size(), 250U);
}

TEST(OutboxTest, WritesOfAChannelThatIsGoneGo) {
    Outbox outbox;
    outbox.addSent({3, false, {write(1, 1)}});
    outbox.add(write(1, 2), true);
    outbox.add(write(2, 3), false);
    outbox.add(write(1, 4), false);
    outbox.dropChannel(1);
    EXPECT_EQ(outbox.size(), 1U);
    outbox.add(write(1, 5), false);
    EXPECT_EQ(emptied(outbox), (Values{3, 5}));
}

TEST(ChannelMemoryTest, ValuesOfKnownChannelsOfTheirTypeAreKnown) {
    ChannelMemory memory;
    memory.learnType(1, qz::datatype::int32);
    EXPECT_TRUE(memory.knows({{1, CValue{5}}}));
    EXPECT_FALSE(memory.knows({{1, CValue{5}}, {2, CValue{5}}}));
    memory.learnName(1, "PowerDistribution.Measure.Voltage");
    try {
        memory.knows({{1, CValue{"five"}}});
        FAIL() << "taken";
    } catch (const std::invalid_argument& refusal) {
        EXPECT_STREQ(refusal.what(), "channel 1 (PowerDistribution.Measure.Voltage) takes int32, not string");
    }
    memory.forget(1);
    EXPECT_FALSE(memory.knows({{1, CValue{5}}}));
}

TEST(ChannelMemoryTest, EveryWriteOfActionsSettingsAndTheDaemonCounts) {
    ChannelMemory memory;
    std::uint64_t channel = 0;
    for (const auto* name : {"PowerDistribution.Action.SwitchOff", "PowerDistribution.PrivateAction.Test",
                             "PowerDistribution.Setting.Delay", "Daemon.Writes"}) {
        memory.learnName(++channel, name);
        EXPECT_TRUE(memory.isInOrder(channel)) << name;
    }
    for (const auto* name : {"PowerDistribution.Measure.Voltage", "PowerDistribution.Status.Source"}) {
        memory.learnName(++channel, name);
        EXPECT_FALSE(memory.isInOrder(channel)) << name;
    }
    EXPECT_TRUE(memory.isInOrder(99)) << "nobody knows what it is";
}

} // namespace
} // namespace tessapi::network
