#pragma once

#include "platform/tessapi/StoreImage.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace velk::testing {

inline void expectSame(const qz::CDevice& one, const qz::CDevice& other) {
    EXPECT_EQ(one.id, other.id);
    EXPECT_EQ(one.uuid, other.uuid);
    EXPECT_EQ(one.parentId, other.parentId);
    EXPECT_EQ(one.attributes, other.attributes);
}

inline void expectSame(const tessapi::ChannelRecord& one, const tessapi::ChannelRecord& other) {
    EXPECT_EQ(one.id, other.id);
    EXPECT_EQ(one.deviceId, other.deviceId);
    EXPECT_EQ(one.name, other.name);
    EXPECT_EQ(one.type, other.type);
    EXPECT_EQ(one.value, other.value) << one.name;
    EXPECT_EQ(one.initialized, other.initialized) << one.name;
    EXPECT_EQ(one.writtenMs, other.writtenMs) << one.name;
    EXPECT_EQ(one.changedMs, other.changedMs) << one.name;
    EXPECT_EQ(one.states, other.states) << one.name;
    EXPECT_EQ(one.alarmConfig, other.alarmConfig) << one.name;
    EXPECT_EQ(one.activeAlarms.size(), other.activeAlarms.size()) << one.name;
}

/// Holds two stores against each other, with everything that they keep.
inline void expectSame(const tessapi::StoreImage& one, const tessapi::StoreImage& other) {
    EXPECT_EQ(one.lastDevice, other.lastDevice);
    EXPECT_EQ(one.lastChannel, other.lastChannel);
    EXPECT_EQ(one.alarmEvents, other.alarmEvents);
    EXPECT_EQ(one.writeRecords, other.writeRecords);
    ASSERT_EQ(one.content.devices.size(), other.content.devices.size());
    for (std::size_t i = 0; i < one.content.devices.size(); ++i) {
        expectSame(one.content.devices[i], other.content.devices[i]);
    }
    ASSERT_EQ(one.content.channels.size(), other.content.channels.size());
    for (std::size_t i = 0; i < one.content.channels.size(); ++i) {
        expectSame(one.content.channels[i], other.content.channels[i]);
    }
}

} // namespace velk::testing
