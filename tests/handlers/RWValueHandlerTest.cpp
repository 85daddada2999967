#include "powerdistribution/handlers/RWValueHandler.h"

#include "testing/FakeConnector.h"
#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using testing::FakePoint;
using testing::FakeWrapper;
using Calls = std::vector<std::string>;

const EPath path{ESetting::NominalVoltage};
const std::string name{"Setting.NominalVoltage"};

// A failure of `unsubscribe` in the destructor ends the process.
static_assert(std::is_nothrow_destructible_v<RWValueHandler>);

class RWValueHandlerTest : public ::testing::Test {
protected:
    std::unique_ptr<RWValueHandler> make(bool notifyInitialValue = false) {
        return std::make_unique<RWValueHandler>(path, FakeWrapper::on(point), connector, notifyInitialValue);
    }

    std::shared_ptr<FakePoint> point = std::make_shared<FakePoint>();
    std::shared_ptr<FakeConnector> connector = std::make_shared<FakeConnector>();
};

TEST_F(RWValueHandlerTest, SubscribesInItsConstructorForChangesOnly) {
    const auto handler = make();
    EXPECT_EQ(connector->calls().calls(), Calls{"subscribe " + name + " every=0 initial=0"});
}

TEST_F(RWValueHandlerTest, PassesOnWhetherTheInitialValueIsWanted) {
    connector->setLoad(path, Value{230.0f});
    const auto handler = make(true);
    EXPECT_TRUE(connector->subscription(path)->notifyInitialValue);
    EXPECT_EQ(point->written(), std::vector<Value>{Value{230.0f}}) << "it came within the constructor";
}

TEST_F(RWValueHandlerTest, UnsubscribesInItsDestructorAndNotInTerminate) {
    auto handler = make();
    handler->terminate();
    EXPECT_TRUE(connector->subscription(path).has_value());
    handler.reset();
    EXPECT_EQ(connector->calls().calls(),
              (Calls{"subscribe " + name + " every=0 initial=0", "terminate", "unsubscribe " + name}));
}

TEST_F(RWValueHandlerTest, SettingOnItsWayWhileTheHandlerIsInitialisedAgainReachesTheDevice) {
    point->setValue(Value{230.0f});
    const auto handler = make();
    handler->initialize();
    handler->refresh();
    connector->setLoad(path, Value{240.0f}); // somebody has written it; the call about it is still to come
    handler->initialize();
    handler->onConnectorValueChange({path, Value{240.0f}, {}});
    EXPECT_EQ(point->written(), std::vector<Value>{Value{240.0f}});
}

TEST_F(RWValueHandlerTest, AFailedSubscriptionIsTakenBackAndPassedOn) {
    connector->throwOn("subscribe", "duplicate");
    try {
        make();
        FAIL() << "the constructor has to throw";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "duplicate");
    }
    EXPECT_FALSE(connector->subscription(path).has_value());
    EXPECT_EQ(connector->calls().count("unsubscribe " + name), 1U);
}

TEST_F(RWValueHandlerTest, AFailureWhileTakingBackDoesNotHideTheFirstOne) {
    connector->throwOn("subscribe", "duplicate");
    connector->throwOn("unsubscribe", "gone");
    try {
        make();
        FAIL() << "the constructor has to throw";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "duplicate");
    }
}

TEST_F(RWValueHandlerTest, AFailureOfTheInitialValueLeavesNoSubscription) {
    connector->setLoad(path, Value{230.0f});
    point->throwOnWrite("no answer");
    EXPECT_THROW(make(true), std::runtime_error);
    EXPECT_FALSE(connector->subscription(path).has_value());
}

TEST_F(RWValueHandlerTest, PollsLikeAReadOnlyValue) {
    point->setValue(Value{230.0f});
    const auto handler = make();
    handler->refresh();
    handler->refresh();
    EXPECT_EQ(connector->calls().count("store " + name + "=230"), 1U);
}

TEST_F(RWValueHandlerTest, ASettingReachesTheDeviceAndTheDevicesViewGoesBackAtOnce) {
    point->setValue(Value{230.0f});
    const auto handler = make();
    handler->refresh();
    connector->calls().clear();
    connector->notify(path, Value{240.0f});
    EXPECT_EQ(point->written(), std::vector<Value>{Value{240.0f}});
    EXPECT_EQ(point->reads(), 2U) << "one poll, one read back";
    EXPECT_TRUE(connector->calls().calls().empty()) << "the device has what was asked, so nothing is stored";
}

TEST_F(RWValueHandlerTest, ADeviceThatMakesSomethingElseOfASettingCorrectsTheStoreAtOnce) {
    point->setValue(Value{230.0f});
    point->ignoreWrites(true);
    const auto handler = make();
    handler->refresh();
    connector->notify(path, Value{240.0f});
    EXPECT_EQ(connector->calls().count("store " + name + "=230"), 2U);
}

TEST_F(RWValueHandlerTest, TheEchoOfAPublishedValueReachesNeitherTheDeviceNorTheReadBack) {
    point->setValue(Value{230.0f});
    const auto handler = make();
    handler->refresh();
    connector->notify(path, Value{230.0f});
    EXPECT_EQ(point->writes(), 0U);
    EXPECT_EQ(point->reads(), 1U);
}

TEST_F(RWValueHandlerTest, ARefusedSettingIsSkippedUntilAPollHasRestoredTheTruth) {
    point->setValue(Value{230.0f});
    point->refuseWrites(true);
    const auto handler = make();
    handler->refresh();
    connector->calls().clear();

    connector->notify(path, Value{240.0f});
    EXPECT_EQ(point->writes(), 1U);
    EXPECT_TRUE(connector->calls().calls().empty()) << "a refusal is silent";
    connector->notify(path, Value{240.0f});
    EXPECT_EQ(point->writes(), 1U) << "the asked value is kept, so the same request is skipped";

    handler->refresh();
    EXPECT_EQ(connector->calls().calls(), Calls{"store " + name + "=230"});
    connector->notify(path, Value{240.0f});
    EXPECT_EQ(point->writes(), 2U);
}

TEST_F(RWValueHandlerTest, AnEmptyValueGoesToTheDeviceAndClearsTheLastOne) {
    point->setValue(Value{230.0f});
    point->refuseWrites(true);
    const auto handler = make();
    handler->refresh();
    connector->notify(path, Value{});
    EXPECT_EQ(point->written(), std::vector<Value>{Value{}});
    handler->refresh();
    EXPECT_EQ(connector->calls().count("store " + name + "=230"), 2U);
}

TEST_F(RWValueHandlerTest, AFailureOfTheDeviceGoesToTheConnector) {
    const auto handler = make();
    point->throwOnWrite("no answer");
    EXPECT_THROW(connector->notify(path, Value{240.0f}), std::runtime_error);
    handler->refresh(); // the lock was released on the way out
}

} // namespace
} // namespace velk::powerdistribution::handlers
