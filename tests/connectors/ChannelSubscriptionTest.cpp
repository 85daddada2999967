#include "powerdistribution/connectors/ChannelTessConnector.h"
#include "powerdistribution/core/PowerDistributionError.h"
#include "testing/CallLog.h"
#include "tests/connectors/ChannelFixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace velk::powerdistribution::connectors {
namespace {

using testing::CallLog;
using testing::RecordingListener;

class ChannelSubscriptionTest : public testing::ChannelFixture {
protected:
    /// The store reports a change on the test's thread.
    void change(const qz::CValue& value, std::uint64_t channel = 1000) {
        store.inbandAccessor().deliverChannel(channel, value);
    }

    std::size_t subscriptions() const {
        return const_cast<ChannelSubscriptionTest*>(this)->store.inbandAccessor().subscriptions().size();
    }

    const HandlerData other{{ESetting::NoStorageModeEnabled}, {}, {}};
    RecordingListener otherListener;
};

TEST_F(ChannelSubscriptionTest, TheTypeOfSubscriptionFollowsTheOption) {
    connector->subscribe(data({}), &listener, {true, false});
    connector->subscribe(other, &otherListener, {false, false});
    EXPECT_EQ((std::vector<std::string>{"subscribeMultipleChannels([1000], 0)",
                                        "subscribeMultipleChannels([1000 1001], 15)"}),
              store.calls("subscribeMultipleChannels"));
}

TEST_F(ChannelSubscriptionTest, EachNewSubscriberReplacesTheStoresSubscription) {
    connector->subscribe(data({}), &listener, {});
    store.forgetCalls();
    connector->subscribe(other, &otherListener, {});
    EXPECT_EQ(
        (std::vector<std::string>{"emplaceChannel(20, PowerDistribution.Setting.NoStorageModeEnabled, 0)",
                                  "getChannelDataType(1001)", "unsubscribe(1)",
                                  "subscribeMultipleChannels([1000 1001], 15)"}),
        store.calls());
    EXPECT_EQ(1u, subscriptions());
}

TEST_F(ChannelSubscriptionTest, AChangeReachesTheListenerOfItsChannelWithPathAndValue) {
    connector->subscribe(data({}), &listener, {});
    connector->subscribe(other, &otherListener, {});
    change(qz::CValue{true});
    ASSERT_EQ(1u, listener.count());
    EXPECT_EQ(0u, otherListener.count());
    EXPECT_EQ(path.nodesToString(), listener.heard()[0].path.nodesToString());
    EXPECT_EQ(Value{true}, listener.heard()[0].value);
    EXPECT_FALSE(listener.heard()[0].dataConfig.alarmConfig.has_value());
}

TEST_F(ChannelSubscriptionTest, AChangeOfAChannelOfNoEntryIsDropped) {
    connector->subscribe(data({}), &listener, {});
    connector->onChannelChange(4711, qz::CValue{true});
    EXPECT_EQ(0u, listener.count());
}

TEST_F(ChannelSubscriptionTest, AChangeOfAChannelWithoutListenerIsDropped) {
    connector->store(data(Value{true}));
    connector->onChannelChange(1000, qz::CValue{false});
    EXPECT_EQ(0u, listener.count());
}

TEST_F(ChannelSubscriptionTest, TheInitialValueIsReadAndNotifiedOnceOnTheSubscribersThread) {
    connector->store(data(Value{true}));
    connector->subscribe(data({}), &listener, {false, true});
    ASSERT_EQ(1u, listener.count());
    EXPECT_EQ(Value{true}, listener.heard()[0].value);
}

TEST_F(ChannelSubscriptionTest, TheInitialValueOfAChannelWithoutOneIsEmptyAndNotifiedAllTheSame) {
    connector->subscribe(data({}), &listener, {false, true});
    ASSERT_EQ(1u, listener.count());
    EXPECT_FALSE(listener.heard()[0].value.hasValue());
}

TEST_F(ChannelSubscriptionTest, WithoutTheOptionNothingIsNotifiedAtSubscription) {
    connector->store(data(Value{true}));
    connector->subscribe(data({}), &listener, {true, false});
    EXPECT_EQ(0u, listener.count());
}

TEST_F(ChannelSubscriptionTest, ASecondSubscriberOfAChannelIsADuplicate) {
    const HandlerData deep{{ECircuit::Inputs, 1u, ESetting::BypassTransferEnabled}, {}, {}};
    connector->subscribe(deep, &listener, {});
    try {
        connector->subscribe(deep, &otherListener, {});
        FAIL() << "subscribed";
    } catch (const PowerDistributionError& failure) {
        EXPECT_STREQ("Duplicate subscription to Inputs.1.Setting.BypassTransferEnabled within the same "
                     "TessChannelAccessor",
                     failure.what());
    }
}

TEST_F(ChannelSubscriptionTest, ResolvingAChannelNeverTouchesItsListener) {
    connector->subscribe(data({}), &listener, {});
    connector->terminate();
    connector->store(data(Value{true}));
    EXPECT_EQ(&listener, connector->getChannel(data({})).listener);
}

TEST_F(ChannelSubscriptionTest, SubscribeAfterTerminateIsADuplicateAlsoAfterUnsubscribe) {
    connector->subscribe(data({}), &listener, {});
    connector->terminate();
    connector->unsubscribe(data({}), &listener);
    EXPECT_THROW(connector->subscribe(data({}), &listener, {}), PowerDistributionError);
}

TEST_F(ChannelSubscriptionTest, UnsubscribeOfADataPointNeverUsedDoesNotMakeItsChannel) {
    connector->unsubscribe(data({}), &listener);
    EXPECT_TRUE(callsAfterConstruction().empty());
}

TEST_F(ChannelSubscriptionTest, UnsubscribeLooksNotAtTheListenerThatIsNamed) {
    connector->subscribe(data({}), &listener, {});
    connector->unsubscribe(data({}), &otherListener);
    EXPECT_EQ(nullptr, connector->getChannel(data({})).listener);
}

TEST_F(ChannelSubscriptionTest, OneUnsubscriptionSilencesTheOthersUntilTheNextSubscription) {
    connector->subscribe(data({}), &listener, {});
    connector->subscribe(other, &otherListener, {});
    connector->unsubscribe(other, &otherListener);
    EXPECT_EQ(0u, subscriptions());
    change(qz::CValue{true});
    EXPECT_EQ(0u, listener.count());
    connector->subscribe(other, &otherListener, {});
    change(qz::CValue{true});
    EXPECT_EQ(1u, listener.count());
}

TEST_F(ChannelSubscriptionTest, ItSurvivesOnlyWhileEveryEntryHasAListener) {
    ChannelTessConnector<ECommunicationStatus> full{store, uuid, 2};
    EXPECT_TRUE(full.hasAnyChannelListener());
    full.subscribe({{ECommunicationStatus::State}, {}, {}}, &listener, {});
    EXPECT_TRUE(full.hasAnyChannelListener());
    full.subscribe({{ECommunicationStatus::Since}, {}, {}}, &otherListener, {});
    EXPECT_FALSE(full.hasAnyChannelListener());
    full.terminate();
    EXPECT_EQ(1u, subscriptions());
}

TEST_F(ChannelSubscriptionTest, ATableWithoutEntriesHasNoneWithoutListener) {
    const ChannelTessConnector<ESetting> empty{store, uuid, 0};
    EXPECT_FALSE(empty.hasAnyChannelListener());
}

TEST_F(ChannelSubscriptionTest, TerminateForgetsIdentifiersAndKeepsPathsTypesAndListeners) {
    connector->subscribe(data({}), &listener, {});
    connector->terminate();
    EXPECT_TRUE(connector->getChannelIds().empty());
    EXPECT_EQ(0u, subscriptions());
    const auto& info = connector->getChannel(data({}));
    EXPECT_EQ(path.nodesToString(), info.data.path.nodesToString());
    EXPECT_EQ(qz::datatype::boolean, info.type);
    EXPECT_EQ(&listener, info.listener);
}

TEST_F(ChannelSubscriptionTest, TheEndOfTheConnectorEndsItsSubscriptionAlsoWhenEveryEntryHasAListener) {
    {
        ChannelTessConnector<ECommunicationStatus> full{store, uuid, 2};
        full.subscribe({{ECommunicationStatus::State}, {}, {}}, &listener, {});
        full.subscribe({{ECommunicationStatus::Since}, {}, {}}, &otherListener, {});
    }
    EXPECT_EQ(0u, subscriptions());
}

TEST_F(ChannelSubscriptionTest, AStoreThatCannotEndTheSubscriptionDoesNotHinderTheEnd) {
    connector->subscribe(data({}), &listener, {});
    const auto kept = store.inbandAccessor().subscriptions().begin()->second.onChannel;
    store.faults().failOn("unsubscribe");
    connector.reset();
    kept(1000, qz::CValue{true});
    EXPECT_EQ(0u, listener.count());
}

TEST_F(ChannelSubscriptionTest, ASubscriptionThatTheStoreRefusesRegistersNobody) {
    store.faults().failOn("subscribeMultipleChannels");
    EXPECT_THROW(connector->subscribe(data({}), &listener, {}), boost::system::system_error);
    EXPECT_EQ(nullptr, connector->getChannel(data({})).listener);
}

// Listeners that come back.

TEST_F(ChannelSubscriptionTest, AListenerMayLoadStoreAndUnsubscribe) {
    RecordingListener busy{[&](const HandlerData& heard) {
        HandlerData copy = heard;
        connector->store(copy);
        connector->load(copy);
        connector->unsubscribe(copy, nullptr);
    }};
    connector->subscribe(data({}), &busy, {});
    change(qz::CValue{true});
    change(qz::CValue{false});
    EXPECT_EQ(1u, busy.count());
    EXPECT_EQ(Value{true}, loaded());
}

TEST_F(ChannelSubscriptionTest, AListenerMayEndTheConnector) {
    RecordingListener last{[&](const HandlerData&) { connector.reset(); }};
    connector->subscribe(data({}), &last, {});
    change(qz::CValue{true});
    EXPECT_EQ(nullptr, connector);
    EXPECT_EQ(0u, subscriptions());
}

TEST_F(ChannelSubscriptionTest, AListenerMayEndTheConnectorWhileItGetsTheInitialValue) {
    RecordingListener last{[&](const HandlerData&) { connector.reset(); }};
    connector->subscribe(data({}), &last, {false, true});
    EXPECT_EQ(nullptr, connector);
}

TEST_F(ChannelSubscriptionTest, UnsubscribeWaitsForTheCallbackOfAnotherThread) {
    CallLog log;
    std::atomic<bool> entered{false};
    std::atomic<bool> leaving{false};
    RecordingListener slow{[&](const HandlerData&) {
        entered = true;
        while (!leaving) {
            std::this_thread::yield();
        }
        log.add("listener left");
    }};
    connector->subscribe(data({}), &slow, {});
    std::thread client{[&] { change(qz::CValue{true}); }};
    while (!entered) {
        std::this_thread::yield();
    }
    leaving = true;
    connector->unsubscribe(data({}), &slow);
    log.add("unsubscribed");
    client.join();
    EXPECT_EQ((std::vector<std::string>{"listener left", "unsubscribed"}), log.calls());
}

TEST_F(ChannelSubscriptionTest, UnsubscribeAfterTerminateStillWaitsForTheListener) {
    CallLog log;
    std::atomic<bool> entered{false};
    std::atomic<bool> leaving{false};
    RecordingListener slow{[&](const HandlerData&) {
        entered = true;
        while (!leaving) {
            std::this_thread::yield();
        }
        log.add("listener left");
    }};
    connector->subscribe(data({}), &slow, {});
    std::thread client{[&] { change(qz::CValue{true}); }};
    while (!entered) {
        std::this_thread::yield();
    }
    connector->terminate();
    leaving = true;
    connector->unsubscribe(data({}), &slow);
    log.add("unsubscribed");
    client.join();
    EXPECT_EQ((std::vector<std::string>{"listener left", "unsubscribed"}), log.calls());
}

TEST_F(ChannelSubscriptionTest, TheEndOfTheConnectorWaitsForItsCallback) {
    CallLog log;
    std::atomic<bool> entered{false};
    std::atomic<bool> leaving{false};
    RecordingListener slow{[&](const HandlerData& heard) {
        entered = true;
        while (!leaving) {
            std::this_thread::yield();
        }
        HandlerData copy = heard;
        connector->load(copy);
        log.add("listener left");
    }};
    connector->subscribe(data({}), &slow, {});
    std::thread client{[&] { change(qz::CValue{true}); }};
    while (!entered) {
        std::this_thread::yield();
    }
    leaving = true;
    // The handle stays readable for the listener while the connector ends.
    connector.get_deleter()(connector.get());
    log.add("ended");
    client.join();
    static_cast<void>(connector.release());
    EXPECT_EQ((std::vector<std::string>{"listener left", "ended"}), log.calls());
}

} // namespace
} // namespace velk::powerdistribution::connectors
