#include "powerdistribution/connectors/SystemTessConnector.h"

#include "testing/FakeTessAccessor.h"
#include "testing/RecordingListener.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace velk::powerdistribution::connectors {
namespace {

using handlers::HandlerData;
using tessapi::DeviceAttribute;
using testing::FakeTessAccessor;
using testing::RecordingListener;

const HandlerData firmware{{ECircuit::PowerDistribution, EPrivateAction::SetFirmwareVersion}, {}, {}};
const HandlerData product{{EPrivateAction::SetProductName}, {}, {}};
const HandlerData mac{{EPrivateAction::SetMacAddress}, {}, {}};
const HandlerData date{{EPrivateAction::SetDate}, {}, {}};
const HandlerData logExport{{EPrivateAction::ExportKdp}, {}, {}};
const HandlerData foreign{{ESetting::Temperature}, {}, {}};

class SystemTessConnectorTest : public ::testing::Test {
protected:
    std::uint64_t addChannel(const std::string& name, const std::string& text) {
        const std::uint64_t id = store.inbandAccessor().addChannel(1, name);
        store.inbandAccessor().setValue(id, qz::CValue{text});
        return id;
    }

    /// The value that `load` leaves of `before`.
    Value loaded(const HandlerData& which, Value before = {}) const {
        HandlerData data{which.path, std::move(before), {}};
        connector->load(data);
        return data.value;
    }

    std::size_t subscriptions() { return store.inbandAccessor().subscriptions().size(); }

    FakeTessAccessor store;
    RecordingListener listener;
    std::unique_ptr<SystemTessConnector> connector{std::make_unique<SystemTessConnector>(store)};
};

TEST_F(SystemTessConnectorTest, FirmwareAndProductAreAttributesOfTheRootDevice) {
    store.inbandAccessor().setAttribute(1, DeviceAttribute::firmwareVersion, "1.2");
    store.inbandAccessor().setAttribute(1, DeviceAttribute::productName, "host");
    EXPECT_EQ(Value{std::string{"1.2"}}, loaded(firmware));
    EXPECT_EQ(Value{std::string{"host"}}, loaded(product));
    EXPECT_EQ((std::vector<std::string>{"getDeviceAttribute(1, 15)", "getDeviceAttribute(1, 2)"}),
              store.calls());
}

TEST_F(SystemTessConnectorTest, AddressesAreChannelsOfTheRootDevice) {
    addChannel("System.Ethernet.CurrentIpv4Address", "four");
    addChannel("System.Ethernet.CurrentIpv6Address", "six");
    addChannel("System.Ethernet.MacAddress", "mac");
    EXPECT_EQ(Value{std::string{"four"}}, loaded({{EPrivateAction::SetIpv4Address}, {}, {}}));
    EXPECT_EQ(Value{std::string{"six"}}, loaded({{EPrivateAction::SetIpv6Address}, {}, {}}));
    EXPECT_EQ(Value{std::string{"mac"}}, loaded(mac));
}

TEST_F(SystemTessConnectorTest, AChannelIsLookedUpUntilItIsThere) {
    EXPECT_EQ(Value{7u}, loaded(mac, Value{7u}));
    addChannel("System.Ethernet.MacAddress", "mac");
    EXPECT_EQ(Value{std::string{"mac"}}, loaded(mac));
    loaded(mac);
    EXPECT_EQ(2u, store.calls("getCatchedChannelId").size());
}

TEST_F(SystemTessConnectorTest, AChannelWithoutValueReadsAsEmptyText) {
    store.inbandAccessor().addChannel(1, "System.Ethernet.MacAddress");
    EXPECT_EQ(Value{std::string{}}, loaded(mac));
}

TEST_F(SystemTessConnectorTest, ActionsWithoutSourceAreWithoutEffect) {
    for (const HandlerData& data : {date, logExport}) {
        connector->subscribe(data, &listener, {true, true});
        EXPECT_EQ(Value{7u}, loaded(data, Value{7u}));
        connector->unsubscribe(data, &listener);
    }
    EXPECT_TRUE(store.calls().empty());
    EXPECT_EQ(0u, listener.count());
}

TEST_F(SystemTessConnectorTest, DataPointsOfAnotherFamilyAreWithoutEffect) {
    connector->subscribe(foreign, &listener, {true, true});
    EXPECT_EQ(Value{7u}, loaded(foreign, Value{7u}));
    connector->unsubscribe(foreign, &listener);
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(SystemTessConnectorTest, AnEmptyPathFails) {
    HandlerData none;
    try {
        connector->load(none);
        FAIL() << "loaded";
    } catch (const std::out_of_range& failure) {
        EXPECT_STREQ("Cannot get last node of an empty path", failure.what());
    }
    EXPECT_THROW(connector->subscribe(none, &listener, {}), std::out_of_range);
    EXPECT_THROW(connector->unsubscribe(none, &listener), std::out_of_range);
}

TEST_F(SystemTessConnectorTest, StoreChangesNothing) {
    connector->init();
    connector->store({mac.path, std::string{"mac"}, {}});
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(SystemTessConnectorTest, ReportsNothingInUse) {
    connector->subscribe(firmware, &listener, {});
    EXPECT_TRUE(connector->getResourcesInUse().resources().empty());
}

TEST_F(SystemTessConnectorTest, TheFirstSubscriberMakesBothSubscriptionsOverAllThatExists) {
    addChannel("System.Ethernet.MacAddress", "mac");
    addChannel("System.Ethernet.CurrentIpv4Address", "four");
    connector->subscribe(mac, &listener, {});
    connector->subscribe(firmware, &listener, {true, false});
    // In the order of first use, then of the actions.
    EXPECT_EQ(
        (std::vector<std::string>{"subscribeDevice(1, 3, 0)", "subscribeMultipleChannels([1000 1001], 15)"}),
        store.calls("subscribe"));
}

TEST_F(SystemTessConnectorTest, AStoreWithoutTheChannelsIsNoFailure) {
    connector->subscribe(mac, &listener, {false, true});
    EXPECT_EQ(0u, subscriptions());
    connector->subscribe(firmware, &listener, {});
    EXPECT_EQ(std::vector<std::string>{"subscribeMultipleChannels([], 15)"},
              store.calls("subscribeMultipleChannels"));
    EXPECT_EQ(0u, listener.count());
}

TEST_F(SystemTessConnectorTest, AChannelThatCameLaterStaysOutOfTheSubscription) {
    connector->subscribe(firmware, &listener, {});
    addChannel("System.Ethernet.MacAddress", "mac");
    connector->subscribe(mac, &listener, {});
    store.inbandAccessor().deliverChannel(1000, qz::CValue{"new"});
    EXPECT_EQ(0u, listener.count());
    connector->terminate();
    connector->subscribe(mac, &listener, {});
    store.inbandAccessor().deliverChannel(1000, qz::CValue{"new"});
    EXPECT_EQ(1u, listener.count());
}

TEST_F(SystemTessConnectorTest, TheInitialValueIsReadUnderTheLockItHolds) {
    store.inbandAccessor().setAttribute(1, DeviceAttribute::firmwareVersion, "1.2");
    connector->subscribe(firmware, &listener, {false, true});
    ASSERT_EQ(1u, listener.count());
    EXPECT_EQ(firmware.path.nodesToString(), listener.heard()[0].path.nodesToString());
    EXPECT_EQ(Value{std::string{"1.2"}}, listener.heard()[0].value);
}

TEST_F(SystemTessConnectorTest, NobodyMayBeSubscribed) {
    connector->subscribe(firmware, nullptr, {false, true});
    EXPECT_EQ(2u, subscriptions());
}

TEST_F(SystemTessConnectorTest, ADeviceChangeReportsAllAttributesAndNoChannel) {
    addChannel("System.Ethernet.MacAddress", "mac");
    store.inbandAccessor().setAttribute(1, DeviceAttribute::firmwareVersion, "1.2");
    connector->subscribe(product, &listener, {});
    connector->subscribe(firmware, &listener, {});
    connector->subscribe(mac, &listener, {});
    store.inbandAccessor().deliverDevice(1);
    store.inbandAccessor().deliverDevice(1);
    ASSERT_EQ(4u, listener.count());
    // In the order of the table; unchanged texts too; with a path of the one node.
    EXPECT_EQ("PrivateAction.SetProductName", listener.heard()[0].path.nodesToString());
    EXPECT_EQ("PrivateAction.SetFirmwareVersion", listener.heard()[1].path.nodesToString());
    EXPECT_EQ(Value{std::string{"1.2"}}, listener.heard()[1].value);
}

TEST_F(SystemTessConnectorTest, NewsOfAnotherDeviceAreIgnored) {
    connector->subscribe(firmware, &listener, {});
    store.inbandAccessor().deliverDevice(20);
    EXPECT_EQ(0u, listener.count());
}

TEST_F(SystemTessConnectorTest, AChannelChangeReportsThatChannelAlone) {
    const std::uint64_t channel = addChannel("System.Ethernet.MacAddress", "mac");
    RecordingListener other;
    connector->subscribe(firmware, &other, {});
    connector->subscribe(mac, &listener, {});
    store.inbandAccessor().deliverChannel(channel, qz::CValue{"new"});
    ASSERT_EQ(1u, listener.count());
    EXPECT_EQ(0u, other.count());
    EXPECT_EQ("PrivateAction.SetMacAddress", listener.heard()[0].path.nodesToString());
    EXPECT_EQ(Value{std::string{"new"}}, listener.heard()[0].value);
}

TEST_F(SystemTessConnectorTest, ASecondSubscriberReplacesTheFirst) {
    RecordingListener later;
    connector->subscribe(firmware, &listener, {});
    connector->subscribe(firmware, &later, {});
    store.inbandAccessor().deliverDevice(1);
    EXPECT_EQ(0u, listener.count());
    EXPECT_EQ(1u, later.count());
}

TEST_F(SystemTessConnectorTest, UnsubscribeSilencesItsListenerAndKeepsTheSubscriptions) {
    connector->subscribe(firmware, &listener, {});
    connector->unsubscribe(firmware, &listener);
    store.inbandAccessor().deliverDevice(1);
    EXPECT_EQ(0u, listener.count());
    EXPECT_EQ(2u, subscriptions());
}

TEST_F(SystemTessConnectorTest, UnsubscribeNeedsNoStore) {
    connector->subscribe(mac, &listener, {}); // whose channel is not there
    store.faults().failOn("getCatchedChannelId");
    EXPECT_NO_THROW(connector->unsubscribe(mac, &listener));
    EXPECT_EQ(0u, listener.count());
}

TEST_F(SystemTessConnectorTest, TerminateEndsTheSubscriptionsAndKeepsTheListeners) {
    connector->subscribe(firmware, &listener, {});
    connector->terminate();
    EXPECT_EQ(0u, subscriptions());
    connector->subscribe(product, nullptr, {});
    store.inbandAccessor().deliverDevice(1);
    EXPECT_EQ(1u, listener.count());
}

TEST_F(SystemTessConnectorTest, TheEndOfTheConnectorEndsItsSubscriptions) {
    connector->subscribe(firmware, &listener, {});
    const auto kept = store.inbandAccessor().subscriptions().begin()->second.onDevice;
    connector.reset();
    EXPECT_EQ(0u, subscriptions());
    kept(1);
    EXPECT_EQ(0u, listener.count());
}

TEST_F(SystemTessConnectorTest, AListenerMayComeBackAndMakeTheTableGrow) {
    RecordingListener busy{[&](const HandlerData& heard) {
        addChannel("System.Ethernet.MacAddress", "mac");
        EXPECT_EQ(Value{std::string{"mac"}}, loaded(mac));
        connector->unsubscribe(heard, nullptr);
    }};
    connector->subscribe(firmware, &busy, {});
    connector->subscribe(product, &listener, {});
    store.inbandAccessor().deliverDevice(1);
    EXPECT_EQ(1u, busy.count());
    EXPECT_EQ(1u, listener.count());
}

TEST_F(SystemTessConnectorTest, AListenerMayEndTheConnectorInTheMiddleOfTheWalk) {
    RecordingListener last{[&](const HandlerData&) { connector.reset(); }};
    connector->subscribe(firmware, &last, {});
    connector->subscribe(product, &last, {});
    store.inbandAccessor().deliverDevice(1);
    EXPECT_EQ(1u, last.count());
    EXPECT_EQ(nullptr, connector);
}

} // namespace
} // namespace velk::powerdistribution::connectors
