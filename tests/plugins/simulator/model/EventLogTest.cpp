#include "plugins/simulator/model/EventWatch.h"
#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

namespace {

const std::string CHUNK = "Private.InternalLogs.Private.LogChunk";
const std::string TOP = "Private.InternalLogs.Private.LogTopId";

/// What the device gives behind `id`, through its points.
powerdistribution::InternalLogChunk::Entries chunkAfter(Model& model, std::uint32_t id) {
    EXPECT_TRUE(model.write(CHUNK, Value{id}));
    return model.read(CHUNK).get<powerdistribution::InternalLogChunk>().entries();
}

} // namespace

TEST(EventLogTest, NewDeviceHasNoEvents) {
    ShippedDevice device{"ups-3ph"};
    device.run(60);
    EXPECT_EQ(device.state(TOP), 0U);
    EXPECT_TRUE(chunkAfter(device.model, 0).empty());
}

TEST(EventLogTest, ConditionsAreEnteredWhenTheyBeginAndWhenTheyEnd) {
    ShippedDevice device{"ups-1ph"};
    device.run(5);
    device.mains(MainsState::Lost);
    device.run(10);
    device.mains(MainsState::Normal);
    device.run(5);
    const auto entries = chunkAfter(device.model, 0);
    ASSERT_EQ(entries.size(), 4U);
    const EventLog::Entry mainsBad{1, 101, conv::UnixTime{1767225605}, 1, 3, 0, 0, 2};
    const EventLog::Entry onBattery{2, 1, conv::UnixTime{1767225605}, 1, 3, 0, 0, 2};
    EXPECT_EQ(entries[0], mainsBad);
    EXPECT_EQ(entries[1], onBattery);
    EXPECT_EQ(entries[2].code, 101);
    EXPECT_EQ(entries[2].status, 0);
    EXPECT_EQ(entries[2].mode, 10);
    EXPECT_EQ(entries[3].id, 4U);
}

TEST(EventLogTest, SwitchedOutletAndTrippedBranchAreEvents) {
    ShippedDevice device{"pdu-42"};
    ASSERT_TRUE(device.act("Outlets.42.Action.SwitchOff"));
    device.run(0.1);
    ASSERT_EQ(device.model.log().entries().size(), 1U);
    EXPECT_EQ(device.model.log().entries().front().code, 342);
    device.outletLoad(1, 9000);
    device.run(60);
    EXPECT_EQ(device.model.log().entries().back().code, 201);
    EXPECT_EQ(device.model.log().entries().back().severity, 3);
}

TEST(EventLogTest, ChunkBeginsBehindTheNumberThatWasWritten) {
    ShippedDevice device{"ups-3ph"};
    device.model.addLogEntries(40);
    EXPECT_EQ(device.state(TOP), 40U);
    auto entries = chunkAfter(device.model, 0);
    ASSERT_EQ(entries.size(), 16U);
    EXPECT_EQ(entries.front().id, 1U);
    entries = chunkAfter(device.model, 32);
    ASSERT_EQ(entries.size(), 8U);
    EXPECT_EQ(entries.front().id, 33U);
    EXPECT_EQ(entries.back().id, 40U);
    EXPECT_TRUE(chunkAfter(device.model, 40).empty());
}

TEST(EventLogTest, ChunkStartIsANumber) {
    ShippedDevice device{"ups-3ph"};
    device.model.addLogEntries(3);
    EXPECT_EQ(chunkAfter(device.model, 2).size(), 1U);
    EXPECT_FALSE(device.model.write(CHUNK, Value{std::int32_t{0}}));
    EXPECT_FALSE(device.model.write(CHUNK, Value{}));
    EXPECT_EQ(device.model.read(CHUNK).get<powerdistribution::InternalLogChunk>().entries().size(), 1U);
}

TEST(EventLogTest, RingForgetsTheOldestAndNumbersGoOn) {
    ShippedDevice device{"ups-3ph"};
    device.model.addLogEntries(3);
    device.model.overwriteLog();
    EXPECT_EQ(device.state(TOP), 203U);
    EXPECT_EQ(device.model.log().entries().size(), 200U);
    const auto entries = chunkAfter(device.model, 3);
    ASSERT_EQ(entries.size(), 16U);
    EXPECT_EQ(entries.front().id, 4U);
    device.model.addLogEntries(1);
    EXPECT_EQ(chunkAfter(device.model, 3).front().id, 5U) << "a slow reader misses what is gone";
}

TEST(EventLogTest, RestartedLogNumbersFromOneAgain) {
    ShippedDevice device{"ups-3ph"};
    device.model.addLogEntries(50);
    device.model.restartLog();
    EXPECT_EQ(device.state(TOP), 0U);
    EXPECT_TRUE(chunkAfter(device.model, 0).empty());
    device.model.addLogEntries(1);
    EXPECT_EQ(device.state(TOP), 1U);
    EXPECT_TRUE(chunkAfter(device.model, 50).empty());
}

TEST(EventLogTest, LogHoldsAtLeastOneEntry) {
    EventLog log{0, 0};
    log.add({});
    log.add({});
    EXPECT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.chunkAfter(0).entries().size(), 1U);
    EXPECT_EQ(log.topId(), 2U);
}

TEST(EventLogTest, WhatHoldsAtTheStartIsNoEvent) {
    EventLog log{10, 10};
    EventWatch watch;
    bool held = true;
    watch.watch(7, EventWatch::Severity::Warning, [&held] { return held; });
    watch.step(log, conv::UnixTime{1}, 2);
    EXPECT_EQ(log.topId(), 0U);
    held = false;
    watch.step(log, conv::UnixTime{2}, 2);
    watch.step(log, conv::UnixTime{3}, 2);
    EXPECT_EQ(log.topId(), 1U);
}

} // namespace velk::simulator
