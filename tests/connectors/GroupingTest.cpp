// What the connectors of one device do together: they make their channels in one call, and while a tree is
// brought up their values go to the store in groups.

#include "powerdistribution/connectors/IExpectingConnector.h"
#include "powerdistribution/connectors/IGroupingFactory.h"
#include "powerdistribution/connectors/TessDatabaseManager.h"
#include "testing/FakeTessAccessor.h"
#include "testing/RecordingListener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velk::powerdistribution::connectors {
namespace {

using handlers::HandlerData;
using velk::common::Uuid;
using Calls = std::vector<std::string>;

const Uuid strip{"00000000-0000-4000-8000-000000000020"};
const Uuid other{"00000000-0000-4000-8000-000000000021"};

void expectPoints(const ConnectorPtr& connector, const std::vector<EPath>& paths) {
    auto* expecting = dynamic_cast<IExpectingConnector*>(connector.get());
    ASSERT_NE(nullptr, expecting);
    for (const EPath& path : paths) {
        expecting->expect({path, {}, {}});
    }
}

void load(const ConnectorPtr& connector, const EPath& path) {
    HandlerData data{path, {}, {}};
    connector->load(data);
}

void store(const ConnectorPtr& connector, const EPath& path, const std::string& text) {
    connector->store({path, text, {}});
}

/// A device with connectors of statuses, measures and settings; all channels are texts.
class GroupingTest : public ::testing::Test {
protected:
    GroupingTest() {
        auto client = std::make_unique<testing::FakeTessAccessor>();
        fake = client.get();
        fake->addDevice(20, strip, 1);
        fake->addDevice(21, other, 1);
        manager = std::make_unique<TessDatabaseManager>(std::move(client));
        statuses = factory().buildStatusConnector(strip);
        measures = factory().buildMeasureConnector(strip);
        settings = factory().buildSettingConnector(strip);
    }

    const IConnectorFactory& factory() const { return manager->connectorFactory(); }

    void inGroups(const std::function<void()>& work) const {
        dynamic_cast<const IGroupingFactory&>(factory()).inGroups(work);
    }

    void expectAll() {
        expectPoints(statuses, {{EStatus::Mode}, {EStatus::Supply}});
        expectPoints(measures, {{EMeasurement::Voltage}});
        expectPoints(settings, {{ESetting::Temperature}, {ESetting::AudibleAlarmControl}});
    }

    testing::FakeTessAccessor* fake;
    std::unique_ptr<TessDatabaseManager> manager;
    testing::RecordingListener listener;
    ConnectorPtr statuses;
    ConnectorPtr measures;
    ConnectorPtr settings;
};

const std::string MODE{"PowerDistribution.Status.Mode"};
const std::string SUPPLY{"PowerDistribution.Status.Supply"};
const std::string VOLTAGE{"PowerDistribution.Measure.Voltage"};
const std::string TEMPERATURE{"PowerDistribution.Setting.Temperature"};
const std::string AUDIBLE{"PowerDistribution.Setting.AudibleAlarmControl"};

TEST_F(GroupingTest, AllChannelsOfADeviceAreMadeInOneCall) {
    expectAll();
    load(measures, {EMeasurement::Voltage});
    load(statuses, {EStatus::Supply});
    load(statuses, {EStatus::Mode});
    load(settings, {ESetting::Temperature});
    const std::string names = MODE + ", " + SUPPLY + ", " + VOLTAGE + ", " + TEMPERATURE + ", " + AUDIBLE;
    EXPECT_EQ(Calls{"emplaceChannels(20, " + names + ")"}, fake->calls("emplaceChannel"));
}

TEST_F(GroupingTest, AnotherDeviceIsMadeByItself) {
    const auto others = factory().buildStatusConnector(other);
    expectPoints(others, {{EStatus::Mode}, {EStatus::Supply}});
    expectAll();
    load(others, {EStatus::Mode});
    EXPECT_EQ(Calls{"emplaceChannels(21, " + MODE + ", " + SUPPLY + ")"}, fake->calls("emplaceChannel"));
}

TEST_F(GroupingTest, SubscribingMakesTheChannelsOfTheDeviceToo) {
    expectAll();
    settings->subscribe({{ESetting::Temperature}, {}, {}}, &listener, {false, false});
    settings->subscribe({{ESetting::AudibleAlarmControl}, {}, {}}, &listener, {false, false});
    const std::string names = MODE + ", " + SUPPLY + ", " + VOLTAGE + ", " + TEMPERATURE + ", " + AUDIBLE;
    EXPECT_EQ(Calls{"emplaceChannels(20, " + names + ")"}, fake->calls("emplaceChannel"));
    EXPECT_EQ((Calls{"subscribeMultipleChannels([1003], 15)", "subscribeMultipleChannels([1004 1003], 15)"}),
              fake->calls("subscribeMultipleChannels"))
        << "only what was subscribed, in the order of the table";
}

TEST_F(GroupingTest, WhoNeedsAValueAsksForTheChannelsTooThatAreThereAlready) {
    expectAll();
    settings->subscribe({{ESetting::Temperature}, {}, {}}, &listener, {false, false});
    fake->forgetCalls();
    load(statuses, {EStatus::Mode});
    const std::string names = MODE + ", " + SUPPLY + ", " + VOLTAGE + ", " + TEMPERATURE + ", " + AUDIBLE;
    EXPECT_EQ(Calls{"emplaceChannels(20, " + names + ")"}, fake->calls("emplaceChannel"));
    EXPECT_EQ(5u, fake->inbandAccessor().channelNames(20).size());
}

TEST_F(GroupingTest, WhatNobodyExpectsIsMadeAlone) {
    expectAll();
    load(measures, {EMeasurement::Current});
    EXPECT_EQ(Calls{"emplaceChannel(20, PowerDistribution.Measure.Current, 0)"},
              fake->calls("emplaceChannel"));
}

TEST_F(GroupingTest, TheStoreIsAskedForADeviceOnceWhenItsConnectorsAreMadeTogether) {
    EXPECT_EQ(1u, fake->calls("deviceIdOf").size()) << "three connectors";
    const auto others = factory().buildAttributeConnector(other);
    const auto again = factory().buildStatusConnector(strip);
    EXPECT_EQ(3u, fake->calls("deviceIdOf").size());
}

TEST_F(GroupingTest, ADeviceIsLookedUpAnewWhenItWasNotThereOrDevicesHaveChanged) {
    const Uuid late{"00000000-0000-4000-8000-000000000022"};
    const auto early = factory().buildStatusConnector(late);
    factory().buildConnector(strip)->store({{ECircuit::Outlets}, late, {}});
    const auto connector = factory().buildStatusConnector(late);
    store(connector, {EStatus::Mode}, "a");
    EXPECT_EQ(Calls{MODE}, fake->inbandAccessor().channelNames(fake->deviceIdOf(late)));
    manager->sanitize();
    fake->forgetCalls();
    const auto after = factory().buildStatusConnector(late);
    EXPECT_EQ(1u, fake->calls("deviceIdOf").size());
}

TEST_F(GroupingTest, AttributesOfTheDeviceAreNoChannels) {
    const auto attributes = factory().buildAttributeConnector(strip);
    expectPoints(attributes, {{EAttribute::Model}, {EAttribute::Manufacturer}, {EAttribute::PartNumber}});
    load(attributes, {EAttribute::PartNumber});
    EXPECT_EQ((Calls{"emplaceChannels(20, PowerDistribution.Attribute.Manufacturer, "
                     "PowerDistribution.Attribute.PartNumber)"}),
              fake->calls("emplaceChannel"));
}

TEST_F(GroupingTest, AFailureOfTheStoreLeavesAllToBeMadeAgain) {
    expectAll();
    fake->faults().failOn("emplaceChannels");
    EXPECT_ANY_THROW(load(statuses, {EStatus::Mode}));
    fake->faults().recover();
    load(statuses, {EStatus::Mode});
    EXPECT_EQ(2u, fake->calls("emplaceChannels").size());
    EXPECT_EQ(5u, fake->inbandAccessor().channelNames(20).size());
}

TEST_F(GroupingTest, WhatWasMadeTogetherIsInUseFromThenOn) {
    expectAll();
    load(statuses, {EStatus::Mode});
    manager->sanitize();
    EXPECT_EQ(5u, fake->inbandAccessor().channelNames(20).size());
}

TEST_F(GroupingTest, AConnectorThatWasTerminatedExpectsNothingAndUsesNothing) {
    expectAll();
    load(measures, {EMeasurement::Voltage});
    settings->terminate();
    statuses->terminate();
    manager->sanitize();
    EXPECT_EQ(Calls{VOLTAGE}, fake->inbandAccessor().channelNames(20));
    fake->forgetCalls();
    load(statuses, {EStatus::Mode});
    EXPECT_EQ(Calls{"emplaceChannel(20, " + MODE + ", 0)"}, fake->calls("emplaceChannel"));
}

TEST_F(GroupingTest, ATreeForAnotherDeviceMakesNothingOfTheFormerOne) {
    expectAll();
    load(measures, {EMeasurement::Voltage});
    statuses.reset();
    settings.reset();
    measures = factory().buildMeasureConnector(strip);
    expectPoints(measures, {{EMeasurement::Current}, {EMeasurement::Frequency}});
    fake->forgetCalls();
    load(measures, {EMeasurement::Current});
    EXPECT_EQ((Calls{"emplaceChannels(20, PowerDistribution.Measure.Current, "
                     "PowerDistribution.Measure.Frequency)"}),
              fake->calls("emplaceChannel"));
    manager->sanitize();
    EXPECT_EQ(2u, fake->inbandAccessor().channelNames(20).size());
}

TEST_F(GroupingTest, FirstValuesReachTheStoreInOneCall) {
    expectPoints(statuses, {{EStatus::Mode}});
    expectPoints(measures, {{EMeasurement::Voltage}});
    inGroups([this] {
        store(statuses, {EStatus::Mode}, "a");
        store(measures, {EMeasurement::Voltage}, "b");
        EXPECT_TRUE(fake->calls("setChannel").empty());
    });
    EXPECT_EQ(Calls{"setChannelCValues(1000=a 1001=b)"}, fake->calls("setChannel"));
}

TEST_F(GroupingTest, AfterwardsEachValueIsWrittenAtOnce) {
    expectPoints(statuses, {{EStatus::Mode}});
    inGroups([] {});
    store(statuses, {EStatus::Mode}, "a");
    EXPECT_EQ(Calls{"setChannelCValue(1000, a)"}, fake->calls("setChannel"));
}

TEST_F(GroupingTest, AValueThatWasNotExpectedIsWrittenAtOnce) {
    inGroups([this] {
        store(statuses, {EStatus::Mode}, "a");
        EXPECT_EQ(Calls{"setChannelCValue(1000, a)"}, fake->calls("setChannel"));
    });
}

TEST_F(GroupingTest, AValueThatSomebodyListensToIsWrittenAtOnce) {
    expectPoints(statuses, {{EStatus::Mode}});
    expectPoints(settings, {{ESetting::Temperature}});
    settings->subscribe({{ESetting::Temperature}, {}, {}}, &listener, {false, false});
    inGroups([this] {
        store(statuses, {EStatus::Mode}, "a");
        store(settings, {ESetting::Temperature}, "b");
        EXPECT_EQ(Calls{"setChannelCValue(1001, b)"}, fake->calls("setChannel"));
    });
}

TEST_F(GroupingTest, ASecondWriterOfAChannelComesBehindTheValueThatWaits) {
    expectPoints(statuses, {{EStatus::Mode}});
    const auto second = factory().buildStatusConnector(strip);
    inGroups([&] {
        store(statuses, {EStatus::Mode}, "a");
        store(second, {EStatus::Mode}, "b");
    });
    EXPECT_EQ((Calls{"setChannelCValues(1000=a)", "setChannelCValue(1000, b)"}), fake->calls("setChannel"));
}

TEST_F(GroupingTest, AWriterOnAnotherThreadDoesNotWaitAndComesBehindTheValueThatDoes) {
    expectPoints(statuses, {{EStatus::Mode}});
    inGroups([&] {
        store(statuses, {EStatus::Mode}, "a");
        std::thread{[this] { store(statuses, {EStatus::Mode}, "b"); }}.join();
    });
    EXPECT_EQ((Calls{"setChannelCValues(1000=a)", "setChannelCValue(1000, b)"}), fake->calls("setChannel"));
}

TEST_F(GroupingTest, WhoLoadsAValueThatWaitsGetsIt) {
    expectPoints(statuses, {{EStatus::Mode}});
    const auto second = factory().buildStatusConnector(strip);
    inGroups([&] {
        store(statuses, {EStatus::Mode}, "a");
        HandlerData data{{EStatus::Mode}, {}, {}};
        second->load(data);
        EXPECT_EQ(Value{std::string{"a"}}, data.value);
    });
}

TEST_F(GroupingTest, NewTriggersComeBehindTheValueThatWaits) {
    expectPoints(statuses, {{EStatus::Mode}});
    HandlerData data{{EStatus::Mode}, std::string{"a"}, {}};
    inGroups([&] {
        statuses->store(data);
        data.dataConfig.alarmConfig = AlarmConfig{};
        data.dataConfig.alarmConfigChanged = true;
        statuses->store(data);
    });
    EXPECT_EQ((Calls{"setChannelCValues(1000=a)", "setChannelAlarmConfig(1000, 0)",
                     "setChannelMultistateMap(1000, 0)", "setChannelCValues(1000=a)"}),
              fake->calls("setChannel"));
}

TEST_F(GroupingTest, TriggersAndLabelsOfAFirstValueReachTheStoreInItsGroup) {
    expectPoints(statuses, {{EStatus::Mode}});
    HandlerData data{{EStatus::Mode}, std::string{"a"}, {}};
    data.dataConfig.alarmConfig = AlarmConfig{};
    inGroups([&] {
        statuses->store(data);
        EXPECT_TRUE(fake->calls("setChannel").empty());
    });
    EXPECT_EQ((Calls{"setChannelAlarmConfig(1000, 0)", "setChannelMultistateMap(1000, 0)",
                     "setChannelCValues(1000=a)"}),
              fake->calls("setChannel"));
}

TEST_F(GroupingTest, TriggersComeBeforeAValueThatDoesNotWait) {
    HandlerData data{{EStatus::Mode}, std::string{"a"}, {}};
    data.dataConfig.alarmConfig = AlarmConfig{};
    inGroups([&] {
        statuses->store(data); // nobody expects it
        EXPECT_EQ((Calls{"setChannelAlarmConfig(1000, 0)", "setChannelMultistateMap(1000, 0)",
                         "setChannelCValue(1000, a)"}),
                  fake->calls("setChannel"));
    });
}

TEST_F(GroupingTest, AListenerHearsNothingOfAValueThatWasStoredBefore) {
    expectPoints(statuses, {{EStatus::Mode}});
    inGroups([this] {
        store(statuses, {EStatus::Mode}, "a");
        statuses->subscribe({{EStatus::Mode}, {}, {}}, &listener, {true, false});
        EXPECT_EQ(Calls{"setChannelCValues(1000=a)"}, fake->calls("setChannelCValue"));
    });
    const Calls all = fake->calls();
    const auto written = std::find(all.begin(), all.end(), "setChannelCValues(1000=a)");
    EXPECT_NE(all.end(), std::find(written, all.end(), "subscribeMultipleChannels([1000], 0)"));
}

TEST_F(GroupingTest, TextsOfDevicesReachTheStoreInAGroup) {
    const auto attributes = factory().buildAttributeConnector(strip);
    inGroups([&] {
        store(attributes, {EAttribute::Model}, "M2");
        HandlerData data{{EAttribute::Vendor}, {}, {}};
        attributes->load(data);
        EXPECT_TRUE(fake->calls("setDeviceAttribute").empty()) << "another text";
        data.path = EPath{EAttribute::Model};
        attributes->load(data);
        EXPECT_EQ(Value{std::string{"M2"}}, data.value);
    });
    EXPECT_EQ(Calls{"setDeviceAttribute(20, 5, M2)"}, fake->calls("setDeviceAttribute"));
}

TEST_F(GroupingTest, APathWaitsOnlyIfTheDeviceHasItAlready) {
    const HandlerData outlets{{ECircuit::Outlets}, Uuid{"00000000-0000-4000-8000-000000000023"}, {}};
    const Calls written{"setDeviceAttribute(1000, 7, Outlets)"};
    inGroups([&] {
        factory().buildConnector(strip)->store(outlets);
        EXPECT_EQ(written, fake->calls("setDeviceAttribute")) << "before it has channels";
        fake->forgetCalls();
        factory().buildConnector(strip)->store(outlets);
        EXPECT_TRUE(fake->calls("setDeviceAttribute").empty());
    });
    EXPECT_EQ(written, fake->calls("setDeviceAttribute")) << "every write of a path is heard";
    fake->inbandAccessor().setAttribute(1000, tessapi::DeviceAttribute::path, "Inputs");
    fake->forgetCalls();
    inGroups([&] {
        factory().buildConnector(strip)->store(outlets);
        EXPECT_EQ(written, fake->calls("setDeviceAttribute")) << "another program has changed it";
    });
}

TEST_F(GroupingTest, ATextThatSomebodyListensToIsWrittenAtOnce) {
    const auto attributes = factory().buildAttributeConnector(strip);
    attributes->subscribe({{EAttribute::Model}, {}, {}}, &listener, {false, false});
    inGroups([&] {
        store(attributes, {EAttribute::Model}, "M2");
        EXPECT_EQ(Calls{"setDeviceAttribute(20, 5, M2)"}, fake->calls("setDeviceAttribute"));
    });
}

TEST_F(GroupingTest, TerminatingLosesNoValueThatWaits) {
    expectPoints(statuses, {{EStatus::Mode}});
    inGroups([this] {
        store(statuses, {EStatus::Mode}, "a");
        statuses->terminate();
    });
    EXPECT_EQ(qz::CValue{std::string{"a"}}, fake->inbandAccessor().channel(20, MODE).value);
}

TEST_F(GroupingTest, AValueThatFailsIsToldAtTheEndAndWrittenByTheNextTry) {
    expectPoints(statuses, {{EStatus::Mode}});
    const auto bringUp = [this] { inGroups([this] { store(statuses, {EStatus::Mode}, "a"); }); };
    fake->faults().failOn("setChannelCValues");
    fake->faults().failOn("setChannelCValue");
    EXPECT_THROW(bringUp(), boost::system::system_error);
    fake->faults().recover();
    HandlerData data{{EStatus::Mode}, std::string{"a"}, {}};
    statuses->load(data);
    EXPECT_FALSE(data.value.hasValue()) << "who loads it sees that the store has none";
    bringUp();
    EXPECT_EQ(qz::CValue{std::string{"a"}}, fake->inbandAccessor().channel(20, MODE).value);
}

} // namespace
} // namespace velk::powerdistribution::connectors
