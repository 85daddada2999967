#include "powerdistribution/handlers/ROValueHandler.h"

#include "testing/FakeConnector.h"
#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using testing::FakePoint;
using testing::FakeWrapper;
using Calls = std::vector<std::string>;

const EPath path{EStatus::Mode};

class ROValueHandlerTest : public ::testing::Test {
protected:
    ROValueHandler make() { return ROValueHandler{path, FakeWrapper::on(point), connector}; }

    static protocols::DataConfig alarms(std::vector<Trigger> triggers) {
        protocols::DataConfig config;
        config.alarmConfig = AlarmConfig{std::move(triggers)};
        return config;
    }

    static Trigger trigger() {
        Trigger made;
        made.type = Trigger::Type::upper;
        made.level = Trigger::Level::warning;
        made.priority = 3;
        made.threshold1 = Value{10.0f};
        made.code = "A1";
        made.message = "high";
        return made;
    }

    /// The stores with the mark of new alarms that a change from `first` to `next` causes.
    std::size_t storesAfterChange(const Trigger& first, const Trigger& next) {
        point->setValue(Value{2u});
        point->setDataConfig(alarms({first}));
        ROValueHandler handler = make();
        handler.refresh();
        point->setDataConfig(alarms({next}));
        handler.refresh();
        return connector->calls().count("store Status.Mode=2 with new alarms");
    }

    std::shared_ptr<FakePoint> point = std::make_shared<FakePoint>();
    std::shared_ptr<FakeConnector> connector = std::make_shared<FakeConnector>();
};

TEST_F(ROValueHandlerTest, InitializeOpensTheConnectorAndReadsBackTheStore) {
    connector->setLoad(path, Value{7u});
    ROValueHandler handler = make();
    handler.initialize();
    EXPECT_EQ(connector->calls().calls(), (Calls{"init", "load Status.Mode"}));
    EXPECT_EQ(point->writes(), 0U);
    point->setValue(Value{7u});
    handler.refresh();
    EXPECT_TRUE(connector->stored().empty()) << "the loaded value is the last one";
}

TEST_F(ROValueHandlerTest, InitializeWritesTheStoredValueToTheDeviceWithTheChannelOption) {
    protocols::DataConfig config;
    config.channelOption = true;
    point->setDataConfig(config);
    point->refuseWrites(true);
    connector->setLoad(path, Value{7u});
    ROValueHandler handler = make();
    handler.initialize();
    EXPECT_EQ(point->written(), std::vector<Value>{Value{7u}});
}

TEST_F(ROValueHandlerTest, InitializeWritesNothingWithTheChannelOptionAndAnEmptyStore) {
    protocols::DataConfig config;
    config.channelOption = true;
    point->setDataConfig(config);
    ROValueHandler handler = make();
    handler.initialize();
    EXPECT_EQ(point->writes(), 0U);
}

TEST_F(ROValueHandlerTest, InitializeMayComeAgain) {
    ROValueHandler handler = make();
    handler.initialize();
    handler.initialize();
    EXPECT_EQ(connector->calls().calls(), (Calls{"init", "load Status.Mode", "init", "load Status.Mode"}));
}

TEST_F(ROValueHandlerTest, TerminateOnlyTerminatesTheConnector) {
    ROValueHandler handler = make();
    handler.terminate();
    EXPECT_EQ(connector->calls().calls(), Calls{"terminate"});
}

TEST_F(ROValueHandlerTest, TheSameValueTwiceIsStoredOnce) {
    point->setValue(Value{2u});
    ROValueHandler handler = make();
    handler.refresh();
    handler.refresh();
    EXPECT_EQ(connector->calls().calls(), Calls{"store Status.Mode=2"});
    EXPECT_EQ(point->reads(), 2U);
}

TEST_F(ROValueHandlerTest, NothingAndThenAValueIsOneStoreOnTheSecondPoll) {
    ROValueHandler handler = make();
    handler.refresh();
    EXPECT_TRUE(connector->stored().empty());
    point->setValue(Value{2u});
    handler.refresh();
    EXPECT_EQ(connector->calls().calls(), Calls{"store Status.Mode=2"});
}

TEST_F(ROValueHandlerTest, AnEmptySampleKeepsTheLastValue) {
    point->setValue(Value{2u});
    ROValueHandler handler = make();
    handler.refresh();
    point->setValue({});
    handler.refresh();
    point->setValue(Value{2u});
    handler.refresh();
    EXPECT_EQ(connector->stored().size(), 1U);
}

TEST_F(ROValueHandlerTest, AnotherAlternativeWithTheSameNumberIsAChange) {
    point->setValue(Value{5});
    ROValueHandler handler = make();
    handler.refresh();
    point->setValue(Value{5u});
    handler.refresh();
    ASSERT_EQ(connector->stored().size(), 2U);
    EXPECT_TRUE(connector->stored()[0].value.holds<std::int32_t>());
    EXPECT_TRUE(connector->stored()[1].value.holds<std::uint32_t>());
}

TEST_F(ROValueHandlerTest, TheAlarmConfigurationOfTheConstructorIsNoChange) {
    point->setDataConfig(alarms({trigger()}));
    point->setValue(Value{2u});
    ROValueHandler handler = make();
    handler.refresh();
    ASSERT_EQ(connector->stored().size(), 1U);
    EXPECT_FALSE(connector->stored()[0].dataConfig.alarmConfigChanged);
    EXPECT_TRUE(connector->stored()[0].dataConfig.alarmConfig.has_value());
}

TEST_F(ROValueHandlerTest, AChangedAlarmConfigurationIsStoredExactlyOnceWithItsMark) {
    point->setDataConfig(alarms({trigger()}));
    point->setValue(Value{2u});
    ROValueHandler handler = make();
    handler.refresh();
    Trigger changed = trigger();
    changed.threshold1 = Value{11.0f};
    point->setDataConfig(alarms({changed}));
    handler.refresh();
    handler.refresh();
    point->setValue(Value{3u});
    handler.refresh();
    EXPECT_EQ(connector->calls().calls(),
              (Calls{"store Status.Mode=2", "store Status.Mode=2 with new alarms", "store Status.Mode=3"}));
}

TEST_F(ROValueHandlerTest, AnAlarmConfigurationThatGoesAwayStays) {
    point->setDataConfig(alarms({trigger()}));
    ROValueHandler handler = make();
    point->setDataConfig({});
    handler.refresh();
    point->setValue(Value{2u});
    handler.refresh();
    ASSERT_EQ(connector->stored().size(), 1U);
    EXPECT_TRUE(connector->stored()[0].dataConfig.alarmConfig.has_value());
}

TEST_F(ROValueHandlerTest, NoAlarmConfigurationIsStoredBeforeThereIsAValue) {
    Trigger unresolved = trigger();
    unresolved.threshold1 = {};
    point->setDataConfig(alarms({unresolved}));
    ROValueHandler handler = make();
    handler.refresh();
    EXPECT_TRUE(connector->stored().empty());
    point->setValue(Value{2u});
    handler.refresh();
    EXPECT_EQ(connector->calls().calls(),
              (Calls{"store Status.Mode=2", "store Status.Mode=2 with new alarms"}));
}

TEST_F(ROValueHandlerTest, AFirstAlarmConfigurationAfterTheConstructorIsAChange) {
    point->setValue(Value{2u});
    ROValueHandler handler = make();
    point->setDataConfig(alarms({trigger()}));
    handler.refresh();
    EXPECT_EQ(connector->calls().calls(),
              (Calls{"store Status.Mode=2", "store Status.Mode=2 with new alarms"}));
}

TEST_F(ROValueHandlerTest, AListOfTriggersOfAnotherLengthIsAChange) {
    point->setValue(Value{2u});
    point->setDataConfig(alarms({trigger()}));
    ROValueHandler handler = make();
    point->setDataConfig(alarms({trigger(), trigger()}));
    handler.refresh();
    EXPECT_EQ(connector->calls().count("store Status.Mode=2 with new alarms"), 1U);
}

TEST_F(ROValueHandlerTest, TheOrderOfTriggersCounts) {
    point->setValue(Value{2u});
    Trigger other = trigger();
    other.code = "B2";
    point->setDataConfig(alarms({trigger(), other}));
    ROValueHandler handler = make();
    point->setDataConfig(alarms({other, trigger()}));
    handler.refresh();
    EXPECT_EQ(connector->calls().count("store Status.Mode=2 with new alarms"), 1U);
}

TEST_F(ROValueHandlerTest, EachComparedFieldOfATriggerIsAChange) {
    std::vector<Trigger> changes(6, trigger());
    changes[0].type = Trigger::Type::lower;
    changes[1].level = Trigger::Level::critical;
    changes[2].priority = 4;
    changes[3].threshold1 = Value{11.0f};
    changes[4].code = "A2";
    changes[5].message = "higher";
    for (std::size_t i = 0; i < changes.size(); ++i) {
        EXPECT_EQ(storesAfterChange(trigger(), changes[i]), i + 1) << "change " << i;
    }
}

TEST_F(ROValueHandlerTest, SecondThresholdAndReferenceOfATriggerAreNotCompared) {
    Trigger other = trigger();
    other.threshold2 = Value{20.0f};
    other.reference = "Setting.PreferredSource";
    EXPECT_EQ(storesAfterChange(trigger(), other), 0U);
}

TEST_F(ROValueHandlerTest, ATriggerWithoutThresholdIsAChangeOnEveryPoll) {
    point->setValue(Value{2u});
    Trigger unresolved = trigger();
    unresolved.threshold1 = {};
    point->setDataConfig(alarms({unresolved}));
    ROValueHandler handler = make();
    handler.refresh();
    handler.refresh();
    EXPECT_EQ(connector->calls().count("store Status.Mode=2 with new alarms"), 2U);
}

TEST_F(ROValueHandlerTest, TheMarkOfNewAlarmsIsClearedAlsoWhenTheStoreFails) {
    point->setValue(Value{1u});
    ROValueHandler handler = make();
    handler.refresh();
    connector->calls().clear();
    point->setDataConfig(alarms({trigger()}));
    connector->throwOn("store", "store is gone");
    EXPECT_THROW(handler.refresh(), std::runtime_error);
    connector->throwOn("store", "");
    point->setValue(Value{2u});
    handler.refresh();
    EXPECT_EQ(connector->calls().calls(), (Calls{"store Status.Mode=1 with new alarms", "store Status.Mode=2",
                                                 "store Status.Mode=2 with new alarms"}));
}

TEST_F(ROValueHandlerTest, ValueThatTheStoreDidNotTakeIsOfferedAgain) {
    ROValueHandler handler = make();
    point->setValue(Value{2u});
    connector->throwOn("store", "store is gone");
    EXPECT_THROW(handler.refresh(), std::runtime_error);
    EXPECT_THROW(handler.refresh(), std::runtime_error);
    connector->throwOn("store", "");
    handler.refresh();
    handler.refresh();
    EXPECT_EQ(connector->calls().count("store Status.Mode=2"), 3U);
}

TEST_F(ROValueHandlerTest, FailuresGoToTheCaller) {
    ROValueHandler handler = make();
    point->throwOnRead("no answer");
    EXPECT_THROW(handler.refresh(), std::runtime_error);
    connector->throwOn("load", "no store");
    EXPECT_THROW(handler.initialize(), std::runtime_error);
    connector->throwOn("terminate", "no store");
    EXPECT_THROW(handler.terminate(), std::runtime_error);
    point->throwOnRead("");
    handler.refresh(); // the lock was released on the way out
}

} // namespace
} // namespace velk::powerdistribution::handlers
