#include "powerdistribution/handlers/WOValueHandler.h"

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

const EPath path{EAction::StartTest};
const std::string name{"Action.StartTest"};

constexpr bool EVERY = true;
constexpr bool CHANGES = false;

// A failure of `unsubscribe` in the destructor ends the process.
static_assert(std::is_nothrow_destructible_v<WOValueHandler>);

class WOValueHandlerTest : public ::testing::Test {
protected:
    std::unique_ptr<WOValueHandler> make(bool notifyEveryUpdate, bool notifyInitialValue = false) {
        return std::make_unique<WOValueHandler>(path, FakeWrapper::on(point), connector, notifyEveryUpdate,
                                                notifyInitialValue);
    }

    std::shared_ptr<FakePoint> point = std::make_shared<FakePoint>();
    std::shared_ptr<FakeConnector> connector = std::make_shared<FakeConnector>();
};

TEST_F(WOValueHandlerTest, SubscribesWithBothOptionsAndUnsubscribesInItsDestructor) {
    make(EVERY, false).reset();
    make(CHANGES, true).reset();
    EXPECT_EQ(connector->calls().calls(),
              (Calls{"subscribe " + name + " every=1 initial=0", "unsubscribe " + name,
                     "subscribe " + name + " every=0 initial=1", "unsubscribe " + name}));
}

TEST_F(WOValueHandlerTest, AFailedSubscriptionIsTakenBackAndPassedOn) {
    connector->throwOn("subscribe", "duplicate");
    EXPECT_THROW(make(EVERY), std::runtime_error);
    EXPECT_FALSE(connector->subscription(path).has_value());
}

TEST_F(WOValueHandlerTest, AnActionRequestedTwiceIsStartedTwice) {
    const auto handler = make(EVERY);
    connector->notify(path, Value{true});
    connector->notify(path, Value{true});
    EXPECT_EQ(point->writes(), 2U);
}

TEST_F(WOValueHandlerTest, WithChangesOnlyTheSameValueIsWrittenOnce) {
    const auto handler = make(CHANGES);
    connector->notify(path, Value{true});
    connector->notify(path, Value{true});
    EXPECT_EQ(point->writes(), 1U);
    connector->notify(path, Value{false});
    EXPECT_EQ(point->writes(), 2U);
}

TEST_F(WOValueHandlerTest, WithChangesOnlyAFailedValueCanBeSentAgain) {
    point->refuseWrites(true);
    const auto handler = make(CHANGES);
    connector->notify(path, Value{true});
    point->refuseWrites(false);
    connector->notify(path, Value{true});
    connector->notify(path, Value{true});
    EXPECT_EQ(point->writes(), 2U);
}

TEST_F(WOValueHandlerTest, ThereIsNoReadBack) {
    const auto handler = make(EVERY);
    connector->notify(path, Value{true});
    EXPECT_EQ(point->reads(), 0U);
    EXPECT_TRUE(connector->stored().empty());
}

TEST_F(WOValueHandlerTest, RefreshTouchesNeitherTheDeviceNorTheStore) {
    const auto handler = make(EVERY);
    connector->calls().clear();
    handler->refresh();
    EXPECT_EQ(point->reads() + point->writes(), 0U);
    EXPECT_TRUE(connector->calls().calls().empty());
}

TEST_F(WOValueHandlerTest, InitializeReadsTheStoreAndStartsNothing) {
    connector->setLoad(path, Value{true});
    const auto handler = make(EVERY);
    handler->initialize();
    EXPECT_EQ(connector->calls().calls(),
              (Calls{"subscribe " + name + " every=1 initial=0", "init", "load " + name}));
    EXPECT_EQ(point->writes(), 0U);
}

TEST_F(WOValueHandlerTest, TheInitialValueReachesTheDeviceWithinTheConstructor) {
    connector->setLoad(path, Value{std::string{"10.0.0.1"}});
    const auto handler = make(CHANGES, true);
    EXPECT_EQ(point->written(), std::vector<Value>{Value{std::string{"10.0.0.1"}}});
}

} // namespace
} // namespace velk::powerdistribution::handlers
