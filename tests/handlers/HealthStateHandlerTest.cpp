#include "powerdistribution/handlers/HealthStateHandler.h"

#include "HandlerFixture.h"
#include "powerdistribution/core/PowerDistributionError.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using velk::common::UnexpectedIndex;
using Calls = std::vector<std::string>;

const EPath path{ECircuit::Inputs};
const EPath point{ECircuit::Inputs, EStatus::HealthState};

class HealthStateHandlerTest : public testing::HandlerFixture {
protected:
    HealthStateHandlerTest() : health{make<HealthStateHandler>(path)} {}

    std::shared_ptr<FakeConnector> alarm() const { return store.connector("alarm(root)"); }
    Calls stores() const { return only(store.calls().calls(), "store"); }
    static std::string stored(const std::string& health) {
        return "status(root).store Inputs.Status.HealthState=" + health;
    }

    std::shared_ptr<HealthStateHandler> health;
};

TEST_F(HealthStateHandlerTest, SubscribesToTheAlarmsOfItsDeviceUnderItsDataPoint) {
    EXPECT_EQ(store.calls().calls(),
              (Calls{"buildStatusConnector(root)", "buildAlarmConnector(root)",
                     "alarm(root).subscribe Inputs.Status.HealthState every=0 initial=0"}));
    EXPECT_EQ(health->epath().nodesToString(), "Inputs") << "its own path stays that of the device";
}

TEST_F(HealthStateHandlerTest, InitializePublishesGoodAndOpensTheAlarmsOnly) {
    store.calls().clear();
    health->initialize();
    EXPECT_EQ(store.calls().calls(), (Calls{stored("5"), "alarm(root).init"}));
}

TEST_F(HealthStateHandlerTest, ASecondInitializePublishesTheHealthOfNow) {
    alarm()->notify(point, Value{4u});
    store.calls().clear();
    health->initialize();
    EXPECT_EQ(stores(), Calls{stored("25")});
}

TEST_F(HealthStateHandlerTest, WithoutAlarmsNothingIsPublishedAfterInitialize) {
    health->initialize();
    health->refresh();
    alarm()->notify(point, Value{1u});
    alarm()->notify(point, Value{2u});
    EXPECT_EQ(stores(), Calls{stored("5")});
}

TEST_F(HealthStateHandlerTest, WarningThenCriticalThenNothing) {
    health->initialize();
    alarm()->notify(point, Value{3u});
    alarm()->notify(point, Value{4u});
    alarm()->notify(point, Value{});
    EXPECT_EQ(stores(), (Calls{stored("5"), stored("10"), stored("25"), stored("5")}));
}

TEST_F(HealthStateHandlerTest, RefreshAsksForThePresentLevel) {
    alarm()->setLoad(point, Value{3u});
    health->refresh();
    EXPECT_EQ(stores(), Calls{stored("10")});
    EXPECT_EQ(store.calls().count("alarm(root).load Inputs.Status.HealthState"), 1U);
}

TEST_F(HealthStateHandlerTest, RefreshForgetsTheLastLevelBeforeItAsks) {
    alarm()->notify(point, Value{4u});
    health->refresh(); // the connector leaves the level alone when there is no alarm
    EXPECT_EQ(stores(), (Calls{stored("25"), stored("5")}));
}

TEST_F(HealthStateHandlerTest, ALevelWithoutHealthIsAnErrorAndTheLastHealthStays) {
    alarm()->notify(point, Value{3u});
    for (const std::uint32_t level : {0U, 5U, 6U, 259U, 4294967295U}) {
        try {
            alarm()->notify(point, Value{level});
            FAIL() << level;
        } catch (const PowerDistributionError& error) {
            EXPECT_STREQ(error.what(), "Unsupported alarm level to health state conversion");
        }
    }
    EXPECT_EQ(stores(), Calls{stored("10")});
    alarm()->notify(point, Value{3u});
    EXPECT_EQ(stores().size(), 1U) << "the last health is still the published one";
}

TEST_F(HealthStateHandlerTest, AnotherAlternativeIsAnError) {
    try {
        alarm()->notify(point, Value{3});
        FAIL();
    } catch (const UnexpectedIndex& error) {
        EXPECT_STREQ(error.what(), "Unexpected index");
    }
}

TEST_F(HealthStateHandlerTest, AFailureOfARefreshGoesToTheCallerAndTheLastHealthStays) {
    alarm()->setLoad(point, Value{0u});
    EXPECT_THROW(health->refresh(), PowerDistributionError);
    alarm()->setLoad(point, Value{std::string{"critical"}});
    EXPECT_THROW(health->refresh(), UnexpectedIndex);
    alarm()->throwOn("load", "store is gone");
    EXPECT_THROW(health->refresh(), std::runtime_error);
    EXPECT_TRUE(stores().empty());
    health->initialize(); // the lock was released on the way out
    EXPECT_EQ(stores(), Calls{stored("5")});
}

TEST_F(HealthStateHandlerTest, HealthThatTheStoreDidNotTakeIsOfferedAgain) {
    const auto status = store.connector("status(root)");
    status->throwOn("store", "store is gone");
    EXPECT_THROW(alarm()->notify(point, Value{3u}), std::runtime_error);
    EXPECT_THROW(alarm()->notify(point, Value{3u}), std::runtime_error);
    status->throwOn("store", "");
    alarm()->notify(point, Value{3u});
    alarm()->notify(point, Value{3u});
    EXPECT_EQ(stores(), Calls(3, stored("10")));
}

TEST_F(HealthStateHandlerTest, TerminateDoesNothing) {
    store.calls().clear();
    health->terminate();
    EXPECT_TRUE(store.calls().calls().empty());
}

TEST_F(HealthStateHandlerTest, TheDestructorReleasesTheAlarmsFirstAndDoesNotUnsubscribe) {
    store.calls().clear();
    health.reset();
    EXPECT_EQ(store.calls().calls(), (Calls{"alarm(root).destroyed", "status(root).destroyed"}));
}

} // namespace
} // namespace velk::powerdistribution::handlers
