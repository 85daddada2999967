#include "powerdistribution/protocols/CommunicationSinceWrapper.h"
#include "powerdistribution/protocols/CommunicationStateWrapper.h"
#include "powerdistribution/protocols/DeviceEmulatedOperatingStatus.h"
#include "powerdistribution/protocols/FriendlyNameWrapper.h"
#include "powerdistribution/protocols/OperatingStatusModeWrapper.h"
#include "powerdistribution/protocols/OperatingStatusWrapper.h"
#include "powerdistribution/protocols/ServiceStateWrapper.h"
#include "powerdistribution/protocols/StorageModuleInServiceWrapper.h"
#include "powerdistribution/protocols/SupplierEmulatedSupplyWrapper.h"
#include "powerdistribution/protocols/VoltageOutOfRangeConverter.h"
#include "testing/FakeProtocol.h"
#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakePoint;
using velk::testing::FakeProtocol;
using velk::testing::FakeWrapper;

const Value GOOD{2u};
const Value UNKNOWN{4u};

/// Whether the last call said something on the standard error.
template <typename Call>
auto silently(const Call& call) {
    ::testing::internal::CaptureStderr();
    auto result = call();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    return result;
}

/// The service state is one for the process: every test leaves it at 0.
class ServiceStateWrapperTest : public ::testing::Test {
protected:
    void TearDown() override { wrapper.write(Value{0u}); }

    ServiceStateWrapper wrapper;
};

TEST_F(ServiceStateWrapperTest, StartsAtZeroAndCanBeReadAndWritten) {
    EXPECT_EQ(wrapper.read(), Value{0u});
    EXPECT_TRUE(wrapper.isReadable());
    EXPECT_TRUE(wrapper.isWritable());
}

TEST_F(ServiceStateWrapperTest, WriteTellsWhetherTheStateChanged) {
    EXPECT_TRUE(wrapper.write(Value{std::int32_t{16}}));
    EXPECT_FALSE(wrapper.write(Value{std::int32_t{16}}));
    EXPECT_EQ(ServiceStateWrapper{}.read(), Value{16u}) << "one state for all wrappers";
}

TEST_F(ServiceStateWrapperTest, OtherAlternativesChangeNothing) {
    wrapper.write(Value{5u});
    EXPECT_FALSE(wrapper.write(Value{16.0f}));
    EXPECT_FALSE(wrapper.write(Value{std::string{"16"}}));
    EXPECT_FALSE(wrapper.write(Value{}));
    EXPECT_EQ(wrapper.read(), Value{5u});
}

TEST_F(ServiceStateWrapperTest, TakesTheLowEightBits) {
    EXPECT_TRUE(wrapper.write(Value{272u}));
    EXPECT_EQ(wrapper.read(), Value{16u});
    EXPECT_TRUE(wrapper.write(Value{std::int32_t{-1}}));
    EXPECT_EQ(wrapper.read(), Value{255u});
    EXPECT_TRUE(wrapper.write(Value{true}));
    EXPECT_EQ(wrapper.read(), Value{1u});
}

TEST_F(ServiceStateWrapperTest, IsReadWhileAnotherThreadWrites) {
    std::thread writer{[] {
        ServiceStateWrapper own;
        for (std::uint32_t state = 1; state <= 200; ++state) {
            own.write(Value{state});
        }
    }};
    std::uint32_t last = 0;
    for (int reads = 0; reads < 200; ++reads) {
        const std::uint32_t seen = wrapper.read().get<std::uint32_t>();
        EXPECT_GE(seen, last);
        last = seen;
    }
    writer.join();
    EXPECT_EQ(wrapper.read(), Value{200u});
}

TEST(FriendlyNameWrapperTest, TakesAnotherNameAndNothingElse) {
    FriendlyNameWrapper wrapper{"X"};
    EXPECT_TRUE(wrapper.isWritable());
    EXPECT_EQ(wrapper.read(), Value{std::string{"X"}});
    EXPECT_FALSE(wrapper.write(Value{1u}));
    EXPECT_FALSE(wrapper.write(Value{}));
    EXPECT_EQ(wrapper.read(), Value{std::string{"X"}});
    EXPECT_TRUE(wrapper.write(Value{std::string{"X"}}));
    EXPECT_TRUE(wrapper.write(Value{std::string{"Y"}}));
    EXPECT_EQ(wrapper.read(), Value{std::string{"Y"}});
}

Value operatingStatus(ValueWrapperPtr status, ValueWrapperPtr com) {
    return OperatingStatusWrapper{std::move(status), std::move(com)}.read();
}

TEST(OperatingStatusWrapperTest, ReadsTheStatusWhereCommunicationIsGood) {
    EXPECT_EQ(operatingStatus(FakeWrapper::of(true), FakeWrapper::of(GOOD)), Value{16u});
    EXPECT_EQ(operatingStatus(FakeWrapper::of(false), FakeWrapper::of(GOOD)), Value{5u});
}

TEST(OperatingStatusWrapperTest, IsUnknownWithoutGoodCommunicationAndDoesNotAsk) {
    const auto status = std::make_shared<FakePoint>(Value{true});
    EXPECT_EQ(operatingStatus(FakeWrapper::on(status), FakeWrapper::of(UNKNOWN)), Value{0u});
    EXPECT_EQ(status->reads(), 0u);
}

TEST(OperatingStatusWrapperTest, StaysReadableWithBrokenSources) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(operatingStatus(nullptr, FakeWrapper::of(GOOD)), Value{5u});
    EXPECT_EQ(operatingStatus(FakeWrapper::of(true), nullptr), Value{0u});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "FATAL ERROR - while accessing one status: exception No wrapper defined\n"
              "FATAL ERROR - while accessing the CommunicationState status: exception "
              "No wrapper defined for CommunicationState\n");
}

Value modeStatus(ValueWrapperPtr mode, const Value& com = GOOD) {
    return silently([&] { return OperatingStatusModeWrapper{std::move(mode), FakeWrapper::of(com)}.read(); });
}

TEST(OperatingStatusModeWrapperTest, FollowsTheMode) {
    EXPECT_EQ(modeStatus(FakeWrapper::of(Value{0u})), Value{0u});
    EXPECT_EQ(modeStatus(FakeWrapper::of(Value{1u})), Value{5u});
    EXPECT_EQ(modeStatus(FakeWrapper::of(Value{2u})), Value{16u});
    EXPECT_EQ(modeStatus(FakeWrapper::of(Value{16u})), Value{16u});
}

TEST(OperatingStatusModeWrapperTest, IsStoppedWithoutMode) {
    EXPECT_EQ(modeStatus(nullptr), Value{5u});
    EXPECT_EQ(modeStatus(FakeWrapper::of({})), Value{5u});
    EXPECT_EQ(modeStatus(FakeWrapper::of(Value{std::int32_t{2}})), Value{5u});
}

TEST(OperatingStatusModeWrapperTest, IsUnknownWithoutGoodCommunicationAndDoesNotAsk) {
    const auto mode = std::make_shared<FakePoint>(Value{2u});
    EXPECT_EQ(modeStatus(FakeWrapper::on(mode), UNKNOWN), Value{0u});
    EXPECT_EQ(mode->reads(), 0u);
}

TEST(DeviceEmulatedOperatingStatusTest, FollowsTheModeAsASignedNumber) {
    const auto status = [](const Value& mode) {
        return DeviceEmulatedOperatingStatus{FakeWrapper::of(mode)}.read();
    };
    EXPECT_EQ(status(Value{0u}), Value{std::int32_t{0}});
    EXPECT_EQ(status(Value{1u}), Value{std::int32_t{5}});
    EXPECT_EQ(status(Value{2u}), Value{std::int32_t{16}});
    EXPECT_EQ(status(Value{}), Value{});
    EXPECT_EQ(status(Value{std::int32_t{2}}), Value{});
    EXPECT_EQ(DeviceEmulatedOperatingStatus{nullptr}.read(), Value{});
}

TEST(StorageModuleInServiceWrapperTest, SupplyAloneIsEnoughAndTheModeIsNotRead) {
    const auto mode = std::make_shared<FakePoint>(Value{true});
    const StorageModuleInServiceWrapper wrapper{FakeWrapper::of(true), FakeWrapper::on(mode)};
    EXPECT_EQ(wrapper.read(), Value{true});
    EXPECT_EQ(mode->reads(), 0u);
}

TEST(StorageModuleInServiceWrapperTest, ModeCountsOnlyAsABool) {
    EXPECT_EQ((StorageModuleInServiceWrapper{FakeWrapper::of(false), FakeWrapper::of(true)}.read()),
              Value{true});
    EXPECT_EQ((StorageModuleInServiceWrapper{FakeWrapper::of(false), FakeWrapper::of(false)}.read()),
              Value{false});
    ::testing::internal::CaptureStderr();
    EXPECT_EQ((StorageModuleInServiceWrapper{FakeWrapper::of(false), FakeWrapper::of(Value{2u})}.read()),
              Value{false});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "FATAL ERROR - while accessing one status: exception Unexpected index\n");
}

TEST(CommunicationWrappersTest, TellWhatTheProtocolSays) {
    const auto protocol = std::make_shared<FakeProtocol>();
    protocol->setStatus(3, conv::UnixTime{1700000000});
    EXPECT_EQ(CommunicationStateWrapper{protocol}.read(), Value{3u});
    EXPECT_EQ(CommunicationSinceWrapper{protocol}.read(), Value{conv::UnixTime{1700000000}});
}

TEST(CommunicationWrappersTest, KeepTheirProtocol) {
    auto protocol = std::make_shared<FakeProtocol>();
    const CommunicationStateWrapper wrapper{protocol};
    protocol.reset();
    EXPECT_EQ(wrapper.read(), Value{2u});
}

TEST(SupplierEmulatedSupplyWrapperTest, FollowsTheQuality) {
    const auto supply = [](const Value& quality) {
        return SupplierEmulatedSupplyWrapper{FakeWrapper::of(quality)}.read();
    };
    EXPECT_EQ(supply(Value{0u}), Value{});
    EXPECT_EQ(supply(Value{1u}), Value{});
    EXPECT_EQ(supply(Value{2u}), Value{false});
    EXPECT_EQ(supply(Value{3u}), Value{true});
    EXPECT_EQ(supply(Value{4u}), Value{true});
    EXPECT_EQ(supply(Value{5u}), Value{true});
    EXPECT_EQ(supply(Value{6u}), Value{});
    EXPECT_EQ(supply(Value{}), Value{});
    EXPECT_EQ(supply(Value{true}), Value{});
    EXPECT_EQ(SupplierEmulatedSupplyWrapper{nullptr}.read(), Value{});
}

TEST(VoltageOutOfRangeConverterTest, IsTrueWhenEitherIs) {
    const auto outOfRange = [](const Value& high, const Value& low) {
        return VoltageOutOfRangeConverter{FakeWrapper::of(high), FakeWrapper::of(low)}.read();
    };
    EXPECT_EQ(outOfRange(true, false), Value{true});
    EXPECT_EQ(outOfRange(false, true), Value{true});
    EXPECT_EQ(outOfRange(false, false), Value{false});
}

TEST(VoltageOutOfRangeConverterTest, WhatIsNoBoolCountsAsFalse) {
    EXPECT_EQ((VoltageOutOfRangeConverter{FakeWrapper::of(true), FakeWrapper::of({})}.read()), Value{true});
    EXPECT_EQ((VoltageOutOfRangeConverter{FakeWrapper::of({}), FakeWrapper::of(Value{1u})}.read()),
              Value{false});
    EXPECT_EQ((VoltageOutOfRangeConverter{nullptr, nullptr}.read()), Value{false});
}

TEST(VoltageOutOfRangeConverterTest, LowIsReadEvenWhenHighIsTrue) {
    const auto low = std::make_shared<FakePoint>(Value{false});
    const VoltageOutOfRangeConverter wrapper{FakeWrapper::of(true), FakeWrapper::on(low)};
    EXPECT_EQ(wrapper.read(), Value{true});
    EXPECT_EQ(low->reads(), 1u);
}

} // namespace
