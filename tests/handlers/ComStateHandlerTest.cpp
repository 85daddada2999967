#include "powerdistribution/handlers/ComStateHandler.h"

#include "HandlerFixture.h"
#include "powerdistribution/handlers/CommunicationStatusHandler.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using testing::FakePoint;
using Calls = std::vector<std::string>;

const EPath statePath{ECommunicationStatus::State};
const EPath sincePath{ECommunicationStatus::Since};

/// Writes what it hears into the log of the store.
class LoggingObserver : public IHandlerObserver {
public:
    explicit LoggingObserver(testing::CallLog& callLog) : log{callLog} {}
    void onValueChanged(const Value& value) override {
        std::ostringstream text;
        text << "observer " << value;
        log.add(text.str());
    }

private:
    testing::CallLog& log;
};

class ComStateHandlerTest : public testing::HandlerFixture {
protected:
    /// A handler of the root device whose `Since` wrapper reads 1970-01-01 00:01:00.
    std::shared_ptr<ComStateHandler> makeWithClock() {
        device.add(statePath, Value{2u});
        device.add(sincePath, Value{conv::UnixTime{60}});
        auto handler = make<ComStateHandler>({});
        handler->registerObserver(observer);
        store.calls().clear();
        return handler;
    }

    Value storedSince() const { return lastOf(sincePath); }

    Value lastOf(const EPath& path) const {
        for (const auto& connector : store.connectors("communication(root)")) {
            if (Value value = connector->lastStored(path); value.hasValue()) {
                return value;
            }
        }
        return {};
    }

    LoggingObserver observer{store.calls()};
};

const Calls changeTo2{"communication(root).store CommunicationStatus.State=2",
                      "communication(root).store CommunicationStatus.Since=1970-01-01T00:01:00.000Z",
                      "observer 2"};

TEST_F(ComStateHandlerTest, MakesTwoConnectorsAndTwoWrappersBelowItsPath) {
    make<ComStateHandler>({ECircuit::PowerBank});
    EXPECT_EQ(store.builds(),
              (Calls{"buildCommunicationStatusConnector(root)", "buildCommunicationStatusConnector(root)"}));
    EXPECT_EQ(device.asked(),
              (Calls{"PowerBank.CommunicationStatus.State", "PowerBank.CommunicationStatus.Since"}));
}

TEST_F(ComStateHandlerTest, AChangeIsStoredThenStampedThenTold) {
    const auto handler = makeWithClock();
    handler->refresh();
    EXPECT_EQ(store.calls().calls(), changeTo2);
}

TEST_F(ComStateHandlerTest, TheSameStateTwiceIsOneStoreOneStampAndOneCall) {
    const auto handler = makeWithClock();
    handler->refresh();
    handler->refresh();
    EXPECT_EQ(store.calls().calls(), changeTo2);
}

TEST_F(ComStateHandlerTest, ItStartsFromTheLostState) {
    const auto handler = makeWithClock();
    device.point(statePath).setValue(Value{3u});
    handler->refresh();
    EXPECT_TRUE(store.calls().calls().empty());
}

TEST_F(ComStateHandlerTest, InitializeOpensBothConnectorsAndPublishesUnknown) {
    const auto handler = makeWithClock();
    handler->initialize();
    EXPECT_EQ(store.calls().calls(),
              (Calls{"communication(root).init", "communication(root).load CommunicationStatus.State",
                     "communication(root).init", "communication(root).load CommunicationStatus.Since",
                     "communication(root).store CommunicationStatus.State=4",
                     "communication(root).store CommunicationStatus.Since=1970-01-01T00:01:00.000Z",
                     "observer 4"}));
}

TEST_F(ComStateHandlerTest, InitializeOfAStoreThatHoldsUnknownPublishesNothing) {
    const auto handler = makeWithClock();
    for (const auto& connector : store.connectors("communication(root)")) {
        connector->setLoad(statePath, Value{4u});
    }
    handler->initialize();
    EXPECT_TRUE(only(store.calls().calls(), "store").empty());
    EXPECT_EQ(store.calls().count("observer 4"), 0U);
}

TEST_F(ComStateHandlerTest, TerminatePublishesUnknownAndKeepsTheConnectors) {
    const auto handler = makeWithClock();
    handler->terminate();
    EXPECT_EQ(store.calls().calls(),
              (Calls{"communication(root).store CommunicationStatus.State=4",
                     "communication(root).store CommunicationStatus.Since=1970-01-01T00:01:00.000Z",
                     "observer 4"}));
}

TEST_F(ComStateHandlerTest, ASecondInitializeReportsTheStateAnew) {
    const auto handler = makeWithClock();
    handler->initialize();
    handler->refresh();
    handler->initialize();
    handler->refresh();
    EXPECT_EQ(store.calls().count("observer 4"), 2U);
    EXPECT_EQ(store.calls().count("observer 2"), 2U);
}

TEST_F(ComStateHandlerTest, ASignedNumberAndAnEmptyValueAreIgnored) {
    const auto handler = makeWithClock();
    device.point(statePath).setValue(Value{2});
    handler->refresh();
    device.point(statePath).setValue({});
    handler->refresh();
    EXPECT_TRUE(store.calls().calls().empty());
}

TEST_F(ComStateHandlerTest, AnyOtherNumberIsPublishedLikeAnother) {
    const auto handler = makeWithClock();
    device.point(statePath).setValue(Value{77u});
    handler->refresh();
    EXPECT_EQ(store.calls().calls().front(), "communication(root).store CommunicationStatus.State=77");
    EXPECT_EQ(store.calls().count("observer 77"), 1U);
}

TEST_F(ComStateHandlerTest, WithoutWrapperRefreshDoesNothing) {
    const auto handler = make<ComStateHandler>({});
    store.calls().clear();
    handler->refresh();
    EXPECT_TRUE(store.calls().calls().empty());
}

TEST_F(ComStateHandlerTest, WithoutADeviceClockTheLocalTimeIsTheStamp) {
    device.add(statePath, Value{2u});
    const auto handler = make<ComStateHandler>({});
    const conv::UnixTime before = conv::UnixTime::now();
    handler->refresh();
    ASSERT_TRUE(storedSince().holds<conv::UnixTime>());
    EXPECT_GE(storedSince().get<conv::UnixTime>(), before);
    EXPECT_LE(storedSince().get<conv::UnixTime>(), conv::UnixTime::now());
}

TEST_F(ComStateHandlerTest, ADeviceTimeOfAnotherAlternativeLeavesTheLocalTimeInPlace) {
    device.add(statePath, Value{2u});
    device.add(sincePath, Value{60u});
    const auto handler = make<ComStateHandler>({});
    const conv::UnixTime before = conv::UnixTime::now();
    handler->refresh();
    ASSERT_TRUE(storedSince().holds<conv::UnixTime>());
    EXPECT_GE(storedSince().get<conv::UnixTime>(), before);
}

TEST_F(ComStateHandlerTest, SinceStampsEachTimeItIsAskedTo) {
    device.add(sincePath, Value{conv::UnixTime{60}});
    const auto since = make<ComSinceHandler>({});
    since->refresh();
    since->refresh();
    since->terminate();
    EXPECT_EQ(only(store.calls().calls(), "communication(root)."),
              Calls(2, "communication(root).store CommunicationStatus.Since=1970-01-01T00:01:00.000Z"));
}

TEST_F(ComStateHandlerTest, TheAlarmConfigurationOfTheWrapperTravelsWithTheState) {
    FakePoint& point = device.add(statePath, Value{2u});
    protocols::DataConfig config;
    config.alarmConfig = AlarmConfig{};
    point.setDataConfig(config);
    const auto handler = make<ComStateHandler>({});
    handler->refresh();
    EXPECT_TRUE(store.connectors("communication(root)").front()->stored().front().dataConfig.alarmConfig);
}

TEST_F(ComStateHandlerTest, StateThatTheStoreDidNotTakeIsToldWhenItDoes) {
    const auto handler = makeWithClock();
    const auto failing = store.connectors("communication(root)").front();
    failing->throwOn("store", "store is gone");
    EXPECT_THROW(handler->refresh(), std::runtime_error);
    EXPECT_EQ(store.calls().count("observer 2"), 0U);
    failing->throwOn("store", "");
    handler->refresh();
    EXPECT_EQ(store.calls().count("observer 2"), 1U);
}

TEST_F(ComStateHandlerTest, StateWhoseStampTheStoreDidNotTakeIsToldWhenItDoes) {
    const auto handler = makeWithClock();
    const auto failing = store.connectors("communication(root)").back();
    failing->throwOn("store", "store is gone");
    EXPECT_THROW(handler->refresh(), std::runtime_error);
    EXPECT_EQ(store.calls().count("observer 2"), 0U);
    failing->throwOn("store", "");
    store.calls().clear();
    handler->refresh();
    EXPECT_EQ(store.calls().calls(), changeTo2);
}

TEST_F(ComStateHandlerTest, TerminateInTheUnknownStatePublishesNothing) {
    const auto handler = makeWithClock();
    handler->initialize();
    store.calls().clear();
    handler->terminate();
    EXPECT_TRUE(store.calls().calls().empty());
}

TEST_F(ComStateHandlerTest, FailuresGoToTheCaller) {
    const auto handler = makeWithClock();
    device.point(statePath).throwOnRead("no answer");
    EXPECT_THROW(handler->refresh(), std::runtime_error);
    device.point(statePath).throwOnRead("");
    handler->refresh();
    EXPECT_EQ(store.calls().count("observer 2"), 1U);
}

TEST_F(ComStateHandlerTest, TheNodeEntersTheStateAndNotItsSince) {
    const CommunicationStatusHandler node{EPath{ECircuit::PowerBank}, parent, factories};
    EXPECT_EQ(pathsOf(model.all()), Calls{"PowerBank.CommunicationStatus.State"});
    EXPECT_EQ(node.epath().nodesToString(), "PowerBank");
}

} // namespace
} // namespace velk::powerdistribution::handlers
