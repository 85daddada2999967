#include "powerdistribution/protocols/DerivedValues.h"

#include "testing/FakeProtocol.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakeProtocol;
using velk::testing::FakeWrapperFactory;
using Asked = std::vector<std::string>;

class DerivedValuesTest : public ::testing::Test {
protected:
    ValueWrapperPtr build(ValueWrapperPtr (&function)(const Rule::BuildFuncParameters&), const EPath& path) {
        return function({path, device, protocol, arguments});
    }

    FakeWrapperFactory device;
    const std::shared_ptr<FakeProtocol> protocol = std::make_shared<FakeProtocol>();
    const std::any none;
    const std::pair<const std::any*, const std::any*> arguments{&none, &none};
};

TEST_F(DerivedValuesTest, CommunicationComesFromTheProtocolOfTheWalk) {
    protocol->setStatus(3, conv::UnixTime{1700000000});
    EXPECT_EQ(build(buildCommunicationState, {ECommunicationStatus::State})->read(), Value{3u});
    EXPECT_EQ(build(buildCommunicationSince, {ECommunicationStatus::Since})->read(),
              Value{conv::UnixTime{1700000000}});
    EXPECT_EQ(device.asked(), Asked{});
}

TEST_F(DerivedValuesTest, OperatingStatusGoesByTheModeOfTheDevice) {
    device.add({EStatus::Mode}, Value{2u});
    const auto wrapper =
        build(buildDeviceEmulatedOperatingStatus, {ECircuit::Inputs, EStatus::OperatingStatus});
    ASSERT_TRUE(wrapper);
    EXPECT_EQ(wrapper->read(), Value{std::int32_t{16}});
    EXPECT_EQ(device.asked(), Asked{"Status.Mode"});
}

TEST_F(DerivedValuesTest, OperatingStatusIsNotServedWithoutMode) {
    EXPECT_FALSE(build(buildDeviceEmulatedOperatingStatus, {EStatus::OperatingStatus}));
}

TEST_F(DerivedValuesTest, SupplyGoesByTheQualityBesideThePath) {
    device.add({ECircuit::Inputs, 1u, EStatus::SupplierPowerQuality}, Value{4u});
    const auto wrapper = build(buildSupplierEmulatedSupply, {ECircuit::Inputs, 1u, EStatus::Supply});
    ASSERT_TRUE(wrapper);
    EXPECT_EQ(wrapper->read(), Value{true});
    EXPECT_FALSE(build(buildSupplierEmulatedSupply, {ECircuit::Inputs, 2u, EStatus::Supply}));
}

TEST_F(DerivedValuesTest, VoltageOutOfRangeNeedsBothStatuses) {
    const EPath path{ECircuit::Inputs, 1u, EStatus::VoltageOutOfRange};
    EXPECT_FALSE(build(buildEmulatedVoltageOutOfRange, path));
    device.add({ECircuit::Inputs, 1u, EStatus::VoltageTooHigh}, Value{true});
    EXPECT_FALSE(build(buildEmulatedVoltageOutOfRange, path));
    device.add({ECircuit::Inputs, 1u, EStatus::VoltageTooLow}, Value{false});
    const auto wrapper = build(buildEmulatedVoltageOutOfRange, path);
    ASSERT_TRUE(wrapper);
    EXPECT_EQ(wrapper->read(), Value{true});
    device.remove({ECircuit::Inputs, 1u, EStatus::VoltageTooHigh});
    EXPECT_FALSE(build(buildEmulatedVoltageOutOfRange, path));
}

TEST_F(DerivedValuesTest, VoltageOutOfRangeAsksHighThenLow) {
    build(buildEmulatedVoltageOutOfRange, {ECircuit::Outputs, EStatus::VoltageOutOfRange});
    EXPECT_EQ(device.asked(), (Asked{"Outputs.Status.VoltageTooHigh", "Outputs.Status.VoltageTooLow"}));
}

TEST_F(DerivedValuesTest, VoltageOutOfRangeOfOneNodeFails) {
    try {
        build(buildEmulatedVoltageOutOfRange, {EStatus::VoltageOutOfRange});
        FAIL() << "the path was accepted";
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Invalid argument: epath depth 2 at least expected");
    }
}

} // namespace
