// The pretended device that is installed for authors of plug-ins.

#include "testing/FakeProtocol.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using velk::powerdistribution::EPath;
using velk::powerdistribution::EStatus;
using velk::powerdistribution::Value;
using velk::testing::CallLog;
using velk::testing::FakePoint;
using velk::testing::FakeProtocol;
using velk::testing::FakeWrapperFactory;

const EPath MODE{EStatus::Mode};

TEST(FakeDeviceTest, WrappersOfOnePathShareTheirPoint) {
    FakeWrapperFactory device;
    FakePoint& mode = device.add(MODE, Value{2u});
    const auto one = device.buildWrapper(MODE);
    const auto other = device.buildWrapper(MODE);
    EXPECT_TRUE(one->write(Value{3u}));
    EXPECT_EQ(other->read(), Value{3u});
    mode.setValue(Value{4u});
    EXPECT_EQ(one->read(), Value{4u});
    EXPECT_EQ(mode.reads(), 2u);
    EXPECT_EQ(mode.written(), std::vector<Value>{Value{3u}});
}

TEST(FakeDeviceTest, RefusedWriteIsFalseAndIgnoredWriteIsTrueAndNeitherChangesTheValue) {
    FakeWrapperFactory device;
    FakePoint& mode = device.add(MODE, Value{2u});
    const auto wrapper = device.buildWrapper(MODE);
    mode.refuseWrites(true);
    EXPECT_FALSE(wrapper->write(Value{3u}));
    mode.refuseWrites(false);
    mode.ignoreWrites(true);
    EXPECT_TRUE(wrapper->write(Value{3u}));
    EXPECT_EQ(mode.value(), Value{2u});
    EXPECT_EQ(mode.writes(), 2u);
}

TEST(FakeDeviceTest, FailuresCountAsCallsAndCanBeEnded) {
    FakeWrapperFactory device;
    FakePoint& mode = device.add(MODE, Value{2u});
    const auto wrapper = device.buildWrapper(MODE);
    mode.throwOnRead("bus error");
    mode.throwOnWrite("bus error");
    EXPECT_THROW(wrapper->read(), std::runtime_error);
    EXPECT_THROW(wrapper->write(Value{3u}), std::runtime_error);
    mode.throwOnRead("");
    EXPECT_EQ(wrapper->read(), Value{2u});
    EXPECT_EQ(mode.reads(), 2u);
    EXPECT_EQ(mode.writes(), 1u);
}

TEST(FakeDeviceTest, PathsAreLoggedAlsoWhenTheyAreNotServed) {
    FakeWrapperFactory device;
    EXPECT_EQ(device.buildWrapper(MODE), nullptr);
    device.add(MODE);
    EXPECT_NE(device.buildWrapper(MODE), nullptr);
    device.remove(MODE);
    device.throwOnBuild(MODE, "out of order");
    EXPECT_THROW(device.buildWrapper(MODE), std::runtime_error);
    EXPECT_EQ(device.askedFor(MODE), 3u);
    EXPECT_THROW(device.point(MODE), std::out_of_range);
}

TEST(FakeDeviceTest, ProtocolsShareOneLogOfTheirCalls) {
    const auto log = std::make_shared<CallLog>();
    FakeProtocol first{velk::common::Uuid::VELK_NAMESPACE, "first", log};
    FakeProtocol second{velk::common::Uuid::VELK_NAMESPACE, "second", log};
    first.setFound(true);
    EXPECT_FALSE(second.discover());
    EXPECT_TRUE(first.discover());
    second.throwOn("disconnect", "bus error");
    EXPECT_THROW(second.disconnect(), std::runtime_error);
    EXPECT_EQ(log->calls(),
              (std::vector<std::string>{"second.discover", "first.discover", "second.disconnect"}));
}

} // namespace
