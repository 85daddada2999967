#include "powerdistribution/connectors/DeviceAttributeTessConnector.h"

#include "platform/common/UnexpectedIndex.h"
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

const velk::common::Uuid uuid{"00000000-0000-4000-8000-000000000020"};
const HandlerData model{{ECircuit::PowerDistribution, EAttribute::Model}, {}, {}};
const HandlerData location{{EAttribute::Location}, {}, {}};
const HandlerData manufacturer{{EAttribute::Manufacturer}, {}, {}};

class DeviceAttributeTessConnectorTest : public ::testing::Test {
protected:
    DeviceAttributeTessConnectorTest() {
        store.addDevice(20, uuid, 1);
        connector = std::make_unique<DeviceAttributeTessConnector>(store, uuid);
        store.forgetCalls();
    }

    Value loaded(const HandlerData& which) const {
        HandlerData data = which;
        connector->load(data);
        return data.value;
    }

    void write(DeviceAttribute attribute, const std::string& text) {
        store.inbandAccessor().setAttribute(20, attribute, text);
        store.inbandAccessor().deliverDevice(20);
    }

    std::size_t subscriptions() { return store.inbandAccessor().subscriptions().size(); }

    FakeTessAccessor store;
    RecordingListener listener;
    std::unique_ptr<DeviceAttributeTessConnector> connector;
};

TEST_F(DeviceAttributeTessConnectorTest, EachMemberIsServedByItsAttributeOrItsChannel) {
    const std::vector<std::uint32_t> attributes{0, 0, 15, 6, 14, 0, 0, 12, 5, 0, 0, 0, 11, 2, 0, 9, 0, 10};
    for (std::uint32_t member = 1; member <= 18; ++member) {
        const HandlerData data{{static_cast<EAttribute>(member)}, {}, {}};
        store.forgetCalls();
        loaded(data);
        const std::uint32_t attribute = attributes.at(member - 1);
        const std::string expected =
            attribute == 0 ? "emplaceChannel(20, PowerDistribution." + data.path.nodesToString() + ", 0)"
                           : "getDeviceAttribute(20, " + std::to_string(attribute) + ")";
        EXPECT_EQ(expected, store.calls().at(0));
    }
}

TEST_F(DeviceAttributeTessConnectorTest, LoadGivesTheTextOfTheStore) {
    store.inbandAccessor().setAttribute(20, DeviceAttribute::model, "M1");
    EXPECT_EQ(Value{std::string{"M1"}}, loaded(model));
    EXPECT_EQ(Value{std::string{}}, loaded(location));
}

TEST_F(DeviceAttributeTessConnectorTest, StoreWritesAnAttributeOrAChannel) {
    connector->store({model.path, std::string{"M2"}, {}});
    EXPECT_EQ(std::vector<std::string>{"setDeviceAttribute(20, 5, M2)"}, store.calls());
    connector->store({manufacturer.path, std::string{"ACME"}, {}});
    EXPECT_EQ(qz::CValue{"ACME"},
              store.inbandAccessor().channel(20, "PowerDistribution.Attribute.Manufacturer").value);
}

TEST_F(DeviceAttributeTessConnectorTest, AnAttributeTakesOnlyText) {
    try {
        connector->store({model.path, Value{1u}, {}});
        FAIL() << "stored";
    } catch (const std::bad_variant_access& failure) {
        EXPECT_STREQ("Unexpected index", failure.what());
    }
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(DeviceAttributeTessConnectorTest, WhatIsNoAttributeFails) {
    HandlerData none;
    HandlerData foreign{{EStatus::Mode}, {}, {}};
    EXPECT_THROW(connector->load(none), std::out_of_range);
    EXPECT_THROW(connector->unsubscribe(none, &listener), std::out_of_range);
    try {
        connector->load(foreign);
        FAIL() << "loaded";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ("Data model object contains invalid data type", failure.what());
    }
}

TEST_F(DeviceAttributeTessConnectorTest, SubscribesToItsDeviceOnceAndReadsTheText) {
    connector->subscribe(model, &listener, {true, false});
    connector->subscribe(location, &listener, {});
    EXPECT_EQ((std::vector<std::string>{"subscribeDevice(20, 3, 0)", "getDeviceAttribute(20, 5)",
                                        "getDeviceAttribute(20, 12)"}),
              store.calls());
    EXPECT_EQ(0u, listener.count());
}

TEST_F(DeviceAttributeTessConnectorTest, TheInitialValueHasTheOneNodePathAndTheText) {
    store.inbandAccessor().setAttribute(20, DeviceAttribute::model, "M1");
    connector->subscribe(model, &listener, {false, true});
    ASSERT_EQ(1u, listener.count());
    EXPECT_EQ("Attribute.Model", listener.heard()[0].path.nodesToString());
    EXPECT_EQ(Value{std::string{"M1"}}, listener.heard()[0].value);
}

TEST_F(DeviceAttributeTessConnectorTest, NobodyMayBeSubscribed) {
    connector->subscribe(model, nullptr, {false, true});
    EXPECT_EQ(1u, subscriptions());
}

TEST_F(DeviceAttributeTessConnectorTest, ASecondSubscriberReplacesTheFirst) {
    RecordingListener later;
    connector->subscribe(model, &listener, {});
    connector->subscribe(model, &later, {});
    write(DeviceAttribute::model, "M1");
    EXPECT_EQ(0u, listener.count());
    EXPECT_EQ(1u, later.count());
}

TEST_F(DeviceAttributeTessConnectorTest, OnlyAChangedTextIsReported) {
    connector->subscribe(model, &listener, {});
    write(DeviceAttribute::model, "M1");
    write(DeviceAttribute::model, "M1");
    write(DeviceAttribute::location, "cellar");
    ASSERT_EQ(1u, listener.count());
    EXPECT_EQ(Value{std::string{"M1"}}, listener.heard()[0].value);
}

TEST_F(DeviceAttributeTessConnectorTest, ATextOfItsOwnIsNotReportedBack) {
    connector->subscribe(model, &listener, {});
    connector->store({model.path, std::string{"M2"}, {}});
    store.inbandAccessor().deliverDevice(20);
    EXPECT_EQ(0u, listener.count());
}

TEST_F(DeviceAttributeTessConnectorTest, ListenersAreCalledInTheOrderOfTheAttributes) {
    connector->subscribe(location, &listener, {});
    connector->subscribe(model, &listener, {});
    store.inbandAccessor().setAttribute(20, DeviceAttribute::location, "cellar");
    write(DeviceAttribute::model, "M1");
    ASSERT_EQ(2u, listener.count());
    EXPECT_EQ("Attribute.Model", listener.heard()[0].path.nodesToString());
    EXPECT_EQ("Attribute.Location", listener.heard()[1].path.nodesToString());
}

TEST_F(DeviceAttributeTessConnectorTest, NewsOfAnotherDeviceAreIgnored) {
    connector->subscribe(model, &listener, {});
    store.inbandAccessor().setAttribute(20, DeviceAttribute::model, "M1");
    store.forgetCalls();
    store.inbandAccessor().deliverDevice(21);
    EXPECT_EQ(0u, listener.count());
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(DeviceAttributeTessConnectorTest, OneUnsubscriptionEndsTheDeviceSubscriptionUntilTheNext) {
    connector->subscribe(model, &listener, {});
    connector->subscribe(location, &listener, {});
    connector->unsubscribe(location, &listener);
    EXPECT_EQ(0u, subscriptions());
    connector->subscribe(location, &listener, {});
    EXPECT_EQ(1u, subscriptions());
    write(DeviceAttribute::model, "M1");
    EXPECT_EQ(1u, listener.count());
}

TEST_F(DeviceAttributeTessConnectorTest, UnsubscribeWithoutSubscriptionAsksNothingOfTheStore) {
    connector->unsubscribe(model, &listener);
    connector->unsubscribe(manufacturer, &listener);
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(DeviceAttributeTessConnectorTest, ChannelsAreSubscribedAsChannels) {
    connector->subscribe(manufacturer, &listener, {true, true});
    EXPECT_EQ(std::vector<std::string>{"subscribeMultipleChannels([1000], 0)"}, store.calls("subscribe"));
    EXPECT_EQ(1u, listener.count());
    store.inbandAccessor().deliverChannel(1000, qz::CValue{"ACME"});
    EXPECT_EQ(2u, listener.count());
    connector->unsubscribe(manufacturer, &listener);
    EXPECT_EQ(0u, subscriptions());
}

TEST_F(DeviceAttributeTessConnectorTest, TerminateForgetsListenersAndTextsAndEndsBothSubscriptions) {
    connector->subscribe(model, &listener, {});
    connector->subscribe(manufacturer, &listener, {});
    EXPECT_EQ(2u, subscriptions());
    connector->terminate();
    EXPECT_EQ(0u, subscriptions());
    EXPECT_EQ((TessResources::Map{{20, {}}}), connector->getResourcesInUse().resources());
    connector->subscribe(location, &listener, {});
    write(DeviceAttribute::model, "M1");
    EXPECT_EQ(0u, listener.count());
}

TEST_F(DeviceAttributeTessConnectorTest, ReportsItsDeviceWithTheChannelsInUse) {
    EXPECT_EQ((TessResources::Map{{20, {}}}), connector->getResourcesInUse().resources());
    loaded(manufacturer);
    loaded(model);
    EXPECT_EQ((TessResources::Map{{20, {1000}}}), connector->getResourcesInUse().resources());
}

TEST_F(DeviceAttributeTessConnectorTest, AListenerMayUnsubscribeAndStoreWhileItIsCalled) {
    RecordingListener busy{[&](const HandlerData& heard) {
        connector->store(heard);
        connector->unsubscribe(heard, nullptr);
    }};
    connector->subscribe(model, &busy, {});
    write(DeviceAttribute::model, "M1");
    EXPECT_EQ(1u, busy.count());
    EXPECT_EQ(0u, subscriptions());
}

TEST_F(DeviceAttributeTessConnectorTest, AListenerMayEndTheConnectorInTheMiddleOfTheWalk) {
    RecordingListener last{[&](const HandlerData&) { connector.reset(); }};
    connector->subscribe(model, &last, {});
    connector->subscribe(location, &last, {});
    store.inbandAccessor().setAttribute(20, DeviceAttribute::location, "cellar");
    write(DeviceAttribute::model, "M1");
    EXPECT_EQ(1u, last.count());
    EXPECT_EQ(nullptr, connector);
}

TEST_F(DeviceAttributeTessConnectorTest, NewsThatComeTooLateReachNobody) {
    connector->subscribe(model, &listener, {});
    const auto kept = store.inbandAccessor().subscriptions().begin()->second.onDevice;
    connector.reset();
    EXPECT_EQ(0u, subscriptions());
    kept(20);
    EXPECT_EQ(0u, listener.count());
}

} // namespace
} // namespace velk::powerdistribution::connectors
