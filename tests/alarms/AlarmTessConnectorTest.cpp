#include "powerdistribution/alarms/AlarmTessConnector.h"

#include "powerdistribution/core/PowerDistributionError.h"
#include "testing/FakeTessAccessor.h"
#include "testing/RecordingListener.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

namespace velk::powerdistribution::connectors {
namespace {

using handlers::HandlerData;
using tessapi::ActiveAlarm;
using tessapi::LevelAlarm;
using testing::FakeTessAccessor;
using testing::RecordingListener;

const velk::common::Uuid uuid{"00000000-0000-4000-8000-000000000020"};

class AlarmTessConnectorTest : public ::testing::Test {
protected:
    AlarmTessConnectorTest() { store.addDevice(20, uuid, 1); }

    Value loaded(Value before = {}) const {
        HandlerData data{{}, std::move(before), {}};
        connector->load(data);
        return data.value;
    }

    void update(LevelAlarm level, bool present = true) const {
        store.inBand().deliverAlarm(20, {present, level, 20});
    }

    struct Store : FakeTessAccessor {
        const testing::FakeInBandAccessor& inBand() const {
            return const_cast<Store*>(this)->inbandAccessor();
        }
    };

    Store store;
    std::optional<AlarmTessConnector> connector{std::in_place, store, uuid};
};

TEST_F(AlarmTessConnectorTest, IsMadeWithoutAskingTheStore) {
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(AlarmTessConnectorTest, InitLooksTheDeviceUpAndSubscribesToItsAlarms) {
    connector->init();
    EXPECT_EQ((std::vector<std::string>{"deviceIdOf(" + uuid.toString() + ")", "subscribeDeviceAlarms(20)"}),
              store.calls());
}

TEST_F(AlarmTessConnectorTest, InitOnTheWayBackLooksTheDeviceUpAgainButSubscribesOnce) {
    connector->init();
    connector->terminate();
    connector->init();
    EXPECT_EQ(2u, store.calls("deviceIdOf").size());
    EXPECT_EQ(1u, store.calls("subscribeDeviceAlarms").size());
    EXPECT_EQ(0u, store.calls("unsubscribe").size());
}

TEST_F(AlarmTessConnectorTest, ADeviceThatHasGotAnotherSeatIsHeardAgain) {
    const velk::common::Uuid late{"00000000-0000-4000-8000-000000000030"};
    connector.emplace(store, late);
    connector->init();
    store.addDevice(30, late, 1);
    connector->init();
    EXPECT_EQ((std::vector<std::string>{"subscribeDeviceAlarms(unknown)", "subscribeDeviceAlarms(30)"}),
              store.calls("subscribeDeviceAlarms"));
    EXPECT_EQ(1u, store.inBand().subscriptions().size());
}

TEST_F(AlarmTessConnectorTest, ASubscriptionThatFailedIsTriedAgainByTheNextInit) {
    store.faults().failOn("subscribeDeviceAlarms");
    EXPECT_THROW(connector->init(), boost::system::system_error);
    store.faults().recover();
    connector->init();
    EXPECT_EQ(1u, store.inBand().subscriptions().size());
}

TEST_F(AlarmTessConnectorTest, TerminateKeepsTheSubscriptionAndTheEndOfTheConnectorEndsIt) {
    connector->init();
    connector->terminate();
    EXPECT_EQ(1u, store.inBand().subscriptions().size());
    connector.reset();
    EXPECT_TRUE(store.inBand().subscriptions().empty());
}

TEST_F(AlarmTessConnectorTest, LoadGivesTheNumberOfTheLevelAsUint32) {
    connector->init();
    store.alarmsAccessor().setAlarm(20, ActiveAlarm{true, LevelAlarm::critical, -1, "", 0});
    EXPECT_EQ(Value{4u}, loaded());
}

TEST_F(AlarmTessConnectorTest, LoadWithoutAlarmLeavesTheValueAsItWas) {
    connector->init();
    EXPECT_EQ(Value{3u}, loaded(Value{3u}));
    EXPECT_FALSE(loaded().hasValue());
    store.alarmsAccessor().setAlarm(20, ActiveAlarm{false, LevelAlarm::critical, -1, "", 0});
    EXPECT_EQ(Value{3u}, loaded(Value{3u}));
}

TEST_F(AlarmTessConnectorTest, LoadBeforeInitAsksWithTheUnknownIdentifier) {
    loaded();
    EXPECT_EQ(std::vector<std::string>{"getMostCritical(unknown)"}, store.calls());
}

TEST_F(AlarmTessConnectorTest, StoreIsUnsupported) {
    try {
        connector->store({});
        FAIL() << "stored";
    } catch (const PowerDistributionError& failure) {
        EXPECT_STREQ("Unsupported operation", failure.what());
    }
}

TEST_F(AlarmTessConnectorTest, UsesNothingInTheStore) {
    connector->init();
    EXPECT_TRUE(connector->getResourcesInUse().resources().empty());
}

TEST_F(AlarmTessConnectorTest, AnUpdateGoesToEveryListenerOnce) {
    RecordingListener first;
    RecordingListener second;
    connector->init();
    connector->subscribe({}, &first, {});
    connector->subscribe({}, &first, {});
    connector->subscribe({}, &second, {});
    update(LevelAlarm::warning);
    ASSERT_EQ(1u, first.count());
    ASSERT_EQ(1u, second.count());
    const HandlerData heard = first.heard().at(0);
    EXPECT_TRUE(heard.path.empty());
    EXPECT_EQ(Value{3u}, heard.value);
    EXPECT_FALSE(heard.dataConfig.alarmConfig.has_value());
}

TEST_F(AlarmTessConnectorTest, AnUpdateThatSaysNothingIsDropped) {
    RecordingListener listener;
    connector->init();
    connector->subscribe({}, &listener, {});
    update(LevelAlarm::warning, false);
    EXPECT_EQ(0u, listener.count());
}

TEST_F(AlarmTessConnectorTest, SubscribeNotifiesNobodyAtOnce) {
    RecordingListener listener;
    connector->subscribe({}, &listener, {true, true});
    EXPECT_EQ(0u, listener.count());
}

TEST_F(AlarmTessConnectorTest, AListenerThatLeftHearsNothing) {
    RecordingListener listener;
    connector->init();
    connector->subscribe({}, &listener, {});
    connector->unsubscribe({}, &listener);
    update(LevelAlarm::warning);
    EXPECT_EQ(0u, listener.count());
}

TEST_F(AlarmTessConnectorTest, AListenerMayTakeItselfAndOthersOutWhileItIsCalled) {
    RecordingListener* others[2];
    const auto leave = [&](const HandlerData&) {
        connector->unsubscribe({}, others[0]);
        connector->unsubscribe({}, others[1]);
    };
    RecordingListener first{leave};
    RecordingListener second{leave};
    others[0] = &first;
    others[1] = &second;
    connector->init();
    connector->subscribe({}, &first, {});
    connector->subscribe({}, &second, {});
    update(LevelAlarm::warning);
    EXPECT_EQ(1u, first.count() + second.count());
}

TEST_F(AlarmTessConnectorTest, MayBeDestroyedByItsListener) {
    RecordingListener listener{[&](const HandlerData&) { connector.reset(); }};
    RecordingListener other{[&](const HandlerData&) { connector.reset(); }};
    connector->init();
    connector->subscribe({}, &listener, {});
    connector->subscribe({}, &other, {});
    update(LevelAlarm::warning);
    EXPECT_EQ(1u, listener.count() + other.count());
    EXPECT_FALSE(connector.has_value());
}

TEST_F(AlarmTessConnectorTest, AnUpdateThatComesTooLateReachesNobody) {
    RecordingListener listener;
    connector->init();
    connector->subscribe({}, &listener, {});
    const auto kept = store.inBand().subscriptions().begin()->second.onAlarm;
    connector.reset();
    kept({true, LevelAlarm::critical, 20});
    EXPECT_EQ(0u, listener.count());
}

TEST_F(AlarmTessConnectorTest, AStoreThatCannotEndTheSubscriptionDoesNotHinderTheEnd) {
    connector->init();
    store.faults().failOn("unsubscribe");
    connector.reset();
    EXPECT_EQ(1u, store.calls("unsubscribe").size());
}

} // namespace
} // namespace velk::powerdistribution::connectors
