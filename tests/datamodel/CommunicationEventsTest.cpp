#include "ManagerFixture.h"
#include "powerdistribution/datamodel/powerEquipmentBuilder.h"

namespace velk::powerdistribution::datamodel {
namespace {

const EPath state{ECommunicationStatus::State};

/// Writes the events into a log.
class LoggingListener : public CommunicationEventListener {
public:
    LoggingListener(std::string listenerName, std::shared_ptr<testing::CallLog> sharedLog) :
        name{std::move(listenerName)}, log{std::move(sharedLog)} {}
    void onCommunicationLost() override { log->add(name + " lost"); }
    void onCommunicationRecovered() override { log->add(name + " recovered"); }

private:
    const std::string name;
    const std::shared_ptr<testing::CallLog> log;
};

class CommunicationEventsTest : public testing::ManagerFixture {
protected:
    /// The events that `value` causes.
    Calls eventsOf(const Value& value) {
        events->clear();
        at(state).tell(value);
        return events->calls();
    }

    std::shared_ptr<testing::CallLog> events = std::make_shared<testing::CallLog>();
    LoggingListener first{"first", events};
    LoggingListener second{"second", events};
};

TEST_F(CommunicationEventsTest, TwoIsARecoveryAndThreeALoss) {
    manager.subscribe(first);
    build({state});
    EXPECT_EQ(eventsOf(Value{2u}), Calls{"first recovered"});
    EXPECT_EQ(eventsOf(Value{3u}), Calls{"first lost"});
}

TEST_F(CommunicationEventsTest, EveryOtherValueIsNoEvent) {
    manager.subscribe(first);
    build({state});
    for (const Value& value : {Value{4u}, Value{0u}, Value{1u}, Value{77u}, Value{2}, Value{3}, Value{2.0f},
                               Value{true}, Value{}}) {
        EXPECT_EQ(eventsOf(value), Calls{}) << value;
    }
}

TEST_F(CommunicationEventsTest, TheFirstSubscriberStays) {
    manager.subscribe(first);
    manager.subscribe(second);
    build({state});
    EXPECT_EQ(eventsOf(Value{3u}), Calls{"first lost"});
}

TEST_F(CommunicationEventsTest, ASubscriptionAfterTheBuildDeliversFromTheNextBuildOn) {
    build({state});
    manager.subscribe(first);
    EXPECT_EQ(eventsOf(Value{3u}), Calls{});
    manager.clear();
    build({state});
    EXPECT_EQ(eventsOf(Value{3u}), Calls{"first lost"});
}

TEST_F(CommunicationEventsTest, ATreeWithoutCommunicationStateDeliversNothing) {
    manager.subscribe(first);
    EXPECT_TRUE(build({EPath{ECircuit::PowerBank, ECommunicationStatus::State}}));
    EXPECT_TRUE(manager.initialize());
    EXPECT_EQ(log->count("register PowerBank.CommunicationStatus.State"), 0U);
    manager.unsubscribe(first);
    EXPECT_TRUE(events->calls().empty());
}

TEST_F(CommunicationEventsTest, AfterUnsubscribeTheListenerHearsNothingWhicheverItWas) {
    // The observer that a handler forgets is the first one of the process: make that another manager's.
    DataModelManager other{quick(), clock};
    other.subscribe(second);
    other.build(device, store, treeOf({state}));
    other.unsubscribe(second);
    log->clear();
    manager.subscribe(first);
    build({state});
    manager.unsubscribe(second);
    EXPECT_EQ(log->count("unregister CommunicationStatus.State"), 1U);
    EXPECT_EQ(eventsOf(Value{3u}), Calls{}) << "also when the handler still knows the adapter";
}

TEST_F(CommunicationEventsTest, UnsubscribeWithoutSubscriberDoesNothing) {
    build({state});
    manager.unsubscribe(first);
    EXPECT_EQ(log->count("unregister CommunicationStatus.State"), 0U);
}

TEST_F(CommunicationEventsTest, ANewSubscriberAfterAnUnsubscribeHearsFromTheNextBuildOn) {
    manager.subscribe(first);
    build({state});
    manager.unsubscribe(first);
    manager.subscribe(second);
    EXPECT_EQ(eventsOf(Value{3u}), Calls{});
    manager.clear();
    build({state});
    EXPECT_EQ(eventsOf(Value{3u}), Calls{"second lost"});
}

TEST_F(CommunicationEventsTest, AnUnsubscribeMayMeetARunningRefresh) {
    manager.subscribe(first);
    build({state});
    std::thread worker{[this] {
        for (int i = 0; i < 500; ++i) {
            at(state).tell(Value{3u});
        }
    }};
    manager.unsubscribe(first);
    const std::size_t heard = events->calls().size();
    worker.join();
    EXPECT_EQ(events->calls().size(), heard) << "nothing comes after unsubscribe has returned";
}

TEST_F(CommunicationEventsTest, TheRealTreeTellsALossAndARecovery) {
    testing::FakePoint& link = device.add(state, Value{2u});
    manager.subscribe(first);
    ASSERT_TRUE(build(powerEquipmentBuilder));
    ASSERT_TRUE(manager.initialize());
    EXPECT_EQ(events->calls(), Calls{"first recovered"}) << "after the silent unknown of the start";
    link.setValue(Value{3u});
    manager.updateCommunicationState();
    manager.updateCommunicationState();
    link.setValue(Value{2u});
    manager.updateCommunicationState();
    EXPECT_EQ(events->calls(), (Calls{"first recovered", "first lost", "first recovered"}));
}

TEST_F(CommunicationEventsTest, TheRealTreeSurvivesARecoveryWhileItIsPolled) {
    testing::FakePoint& link = device.add(state, Value{2u});
    device.add({EStatus::Mode}, Value{1u});
    device.add({ESetting::Temperature}, Value{1.0f});
    manager.subscribe(first);
    ASSERT_TRUE(build(powerEquipmentBuilder));
    ASSERT_TRUE(manager.initialize());
    manager.start();
    for (int i = 0; i < 20; ++i) {
        link.setValue(Value{2u + static_cast<std::uint32_t>(i) % 2});
        EXPECT_TRUE(manager.initialize());
        manager.updateCommunicationState();
        manager.updateServiceState();
    }
    manager.stop();
    manager.clear();
    manager.unsubscribe(first);
    EXPECT_GT(events->calls().size(), 0U);
}

} // namespace
} // namespace velk::powerdistribution::datamodel
