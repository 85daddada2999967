#include "powerdistribution/protocols/WriteReportWrapperFactory.h"
#include "testing/FakeWrapper.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace velk::powerdistribution::protocols {
namespace {

class WriteReportTest : public ::testing::Test {
protected:
    std::shared_ptr<velk::testing::FakeWrapperFactory> device =
        std::make_shared<velk::testing::FakeWrapperFactory>();
    std::vector<DeviceWrite> reports;
    WriteReportWrapperFactory factory{device, [this](const DeviceWrite& write) { reports.push_back(write); }};
    EPath delay{ECircuit::Outlets, 1U, ESetting::AutomaticSwitchOffDelay};
};

TEST_F(WriteReportTest, AcceptedWriteIsReportedWithItsNodeAndDataPoint) {
    device->add(delay, Value{std::int32_t{10}});
    const ValueWrapperPtr wrapper = factory.buildWrapper(delay);
    ASSERT_NE(wrapper, nullptr);
    EXPECT_TRUE(wrapper->write(Value{std::int32_t{30}}));
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].device, "Outlets.1");
    EXPECT_EQ(reports[0].channel, "Setting.AutomaticSwitchOffDelay");
    EXPECT_EQ(reports[0].asked, Value{std::int32_t{30}});
    EXPECT_TRUE(reports[0].accepted);
    EXPECT_EQ(reports[0].error, "");
    EXPECT_GT(reports[0].time.toIntegralType(), 0U);
}

TEST_F(WriteReportTest, DataPointOfTheDeviceItselfHasAnEmptyNode) {
    device->add({ESetting::AudibleAlarmControl}, Value{std::uint32_t{1}});
    factory.buildWrapper({ESetting::AudibleAlarmControl})->write(Value{std::uint32_t{2}});
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].device, "");
}

TEST_F(WriteReportTest, RefusedWriteIsReportedAsNotAccepted) {
    device->add(delay, Value{std::int32_t{10}}).refuseWrites(true);
    EXPECT_FALSE(factory.buildWrapper(delay)->write(Value{std::int32_t{30}}));
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_FALSE(reports[0].accepted);
}

TEST_F(WriteReportTest, ExceptionIsReportedWithItsTextAndPassedOn) {
    device->add(delay, Value{std::int32_t{10}}).throwOnWrite("device on fire");
    EXPECT_THROW(factory.buildWrapper(delay)->write(Value{std::int32_t{30}}), std::runtime_error);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_FALSE(reports[0].accepted);
    EXPECT_EQ(reports[0].error, "device on fire");
}

TEST_F(WriteReportTest, ListenerThatThrowsDoesNotTurnAWriteIntoAFailure) {
    device->add(delay, Value{std::int32_t{10}});
    const WriteReportWrapperFactory broken{device,
                                           [](const DeviceWrite&) { throw std::runtime_error{"full"}; }};
    EXPECT_TRUE(broken.buildWrapper(delay)->write(Value{std::int32_t{30}}));
}

TEST_F(WriteReportTest, OnlySettingsAndActionsAreWrapped) {
    device->add({EAction::StartTest}, Value{});
    device->add({EPrivateAction::SetDate}, Value{});
    device->add({EStatus::Mode}, Value{std::uint32_t{2}});
    factory.buildWrapper({EAction::StartTest})->write(Value{true});
    factory.buildWrapper({EPrivateAction::SetDate})->write(Value{conv::UnixTime{1}});
    EXPECT_EQ(reports.size(), 2U);
    factory.buildWrapper({EStatus::Mode})->write(Value{std::uint32_t{3}});
    EXPECT_EQ(reports.size(), 2U);
    EXPECT_EQ(factory.buildWrapper({EMeasurement::Voltage}), nullptr);
    EXPECT_EQ(factory.buildWrapper(EPath{}), nullptr);
}

} // namespace
} // namespace velk::powerdistribution::protocols
