// The connectors on a real store in memory: what the two make of each other.

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/TessAccessor.h"
#include "powerdistribution/connectors/TessDatabaseManager.h"
#include "powerdistribution/core/PowerDistributionError.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

namespace velk::powerdistribution::connectors {
namespace {

using handlers::HandlerData;
using tessapi::TessAccessor;
using velk::common::Uuid;

const Uuid device{"00000000-0000-4000-8000-000000000020"};
const EPath root{ECircuit::PowerDistribution};

/// Hears on the store's thread; a test waits until it has heard enough.
class Ear : public IConnectorListener {
public:
    void onConnectorValueChange(const HandlerData& data) override {
        const std::lock_guard<std::mutex> lock{mutex};
        values.push_back(data.value);
        changed.notify_all();
    }

    std::vector<Value> waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock{mutex};
        changed.wait(lock, [&] { return values.size() >= count; });
        return values;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Value> values;
};

class ConnectorsOnStoreTest : public ::testing::Test {
protected:
    ConnectorsOnStoreTest() {
        deviceConnector = factory().buildConnector(factory().getRootParentUuid());
        deviceConnector->store({root, device, {}});
    }

    const IConnectorFactory& factory() const { return manager.connectorFactory(); }

    std::set<std::string> channelNames() {
        std::set<std::string> names;
        for (const auto& channel : other->browser().snapshot().channels) {
            names.insert(channel.name);
        }
        return names;
    }

    static std::string url() {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        return std::string{"memory:connectors-"} + test->name();
    }

    /// Another program.
    const std::unique_ptr<TessAccessor> other{TessAccessor::open("other", url())};
    TessDatabaseManager manager{TessAccessor::open("test", url())};
    ConnectorPtr deviceConnector;
};

TEST_F(ConnectorsOnStoreTest, TheDeviceHasItsSeatAndItsPath) {
    EXPECT_EQ(20u, other->deviceIdOf(device));
    EXPECT_EQ("PowerDistribution",
              other->inbandAccessor().getDeviceAttribute(20, tessapi::DeviceAttribute::path));
}

TEST_F(ConnectorsOnStoreTest, AValueIsReadBackAndSeenByOtherPrograms) {
    const auto measures = factory().buildMeasureConnector(device);
    measures->store({{EMeasurement::Voltage}, Value{230.5f}, {}});
    HandlerData data{{EMeasurement::Voltage}, {}, {}};
    measures->load(data);
    EXPECT_EQ(Value{230.5f}, data.value);
    auto& inBand = other->inbandAccessor();
    EXPECT_EQ(qz::CValue{230.5f},
              inBand.getChannelCValue(inBand.getCatchedChannelId(20, "PowerDistribution.Measure.Voltage")));
}

TEST_F(ConnectorsOnStoreTest, TheCatalogueDecidesTheTypeAndRefusesOthersByName) {
    const auto measures = factory().buildMeasureConnector(device);
    try {
        measures->store({{ECircuit::Inputs, 1u, EMeasurement::Voltage}, Value{230u}, {}});
        FAIL() << "stored";
    } catch (const PowerDistributionError& failure) {
        EXPECT_STREQ("FATAL ERROR - HandlerData(path=Inputs.1.Measure.Voltage, value=230) does not contains "
                     "expected type (contains uint32_t, expected float32)",
                     failure.what());
    }
}

TEST_F(ConnectorsOnStoreTest, ItsOwnWritesAreEchoedToItsSubscribers) {
    const auto settings = factory().buildSettingConnector(device);
    const HandlerData setting{{ESetting::BypassTransferEnabled}, Value{true}, {}};
    Ear ear;
    settings->subscribe(setting, &ear, {true, false});
    settings->store(setting);
    EXPECT_EQ(std::vector<Value>{Value{true}}, ear.waitFor(1));
    settings->unsubscribe(setting, &ear);
}

TEST_F(ConnectorsOnStoreTest, EveryUpdateMeansUnchangedOnesTooAndInOrder) {
    const auto actions = factory().buildActionConnector(device);
    const HandlerData action{{EAction::SwitchOff}, {}, {}};
    Ear ear;
    actions->subscribe(action, &ear, {true, false});
    auto& inBand = other->inbandAccessor();
    const std::uint64_t channel = inBand.getCatchedChannelId(20, "PowerDistribution.Action.SwitchOff");
    for (const std::int32_t delay : {5, 5, 7}) {
        inBand.setChannelCValue(channel, qz::CValue{delay});
    }
    EXPECT_EQ((std::vector<Value>{Value{std::int32_t{5}}, Value{std::int32_t{5}}, Value{std::int32_t{7}}}),
              ear.waitFor(3));
    actions->unsubscribe(action, &ear);
}

TEST_F(ConnectorsOnStoreTest, ChangesLeaveUnchangedWritesOut) {
    const auto settings = factory().buildSettingConnector(device);
    const HandlerData setting{{ESetting::BypassTransferEnabled}, {}, {}};
    Ear ear;
    settings->subscribe(setting, &ear, {false, false});
    settings->store({setting.path, Value{true}, {}});
    ear.waitFor(1);
    settings->store({setting.path, Value{true}, {}});
    settings->store({setting.path, Value{false}, {}});
    EXPECT_EQ((std::vector<Value>{Value{true}, Value{false}}), ear.waitFor(2));
    settings->unsubscribe(setting, &ear);
}

TEST_F(ConnectorsOnStoreTest, AnAttributeOfAnotherProgramReachesItsListener) {
    const auto attributes = factory().buildAttributeConnector(device);
    const HandlerData location{{EAttribute::Location}, {}, {}};
    Ear ear;
    attributes->subscribe(location, &ear, {false, true});
    other->inbandAccessor().setDeviceAttribute(20, tessapi::DeviceAttribute::location, "cellar");
    EXPECT_EQ((std::vector<Value>{Value{std::string{}}, Value{std::string{"cellar"}}}), ear.waitFor(2));
    attributes->unsubscribe(location, &ear);
}

TEST_F(ConnectorsOnStoreTest, AnAlarmThatTheStoreRaisesReachesItsListenerAndLoad) {
    const auto alarms = factory().buildAlarmConnector(device);
    alarms->init();
    Ear ear;
    alarms->subscribe({}, &ear, {});
    Trigger trigger;
    trigger.type = Trigger::Type::value;
    trigger.level = Trigger::Level::critical;
    trigger.threshold1 = Value{true};
    const auto statuses = factory().buildStatusConnector(device);
    statuses->store({{EStatus::Overload}, Value{true}, {AlarmConfig{{trigger}}, false, false}});
    EXPECT_EQ(std::vector<Value>{Value{4u}}, ear.waitFor(1));
    HandlerData level;
    alarms->load(level);
    EXPECT_EQ(Value{4u}, level.value);
    statuses->store({{EStatus::Overload}, Value{false}, {}});
    EXPECT_EQ((std::vector<Value>{Value{4u}, Value{1u}}), ear.waitFor(2));
    alarms->unsubscribe({}, &ear);
}

TEST_F(ConnectorsOnStoreTest, SanitizeLeavesWhatIsInUseAndRemovesTheRest) {
    const Uuid stale{"00000000-0000-4000-8000-0000000000aa"};
    const Uuid used{"00000000-0000-4000-8000-0000000000bb"};
    const std::uint64_t staleId = other->emplaceDevice(stale, 20, 0);
    other->inbandAccessor().emplaceChannel(staleId, "PowerDistribution.Measure.Current", false);
    other->inbandAccessor().emplaceChannel(20, "PowerDistribution.Measure.ActivePower", false);
    other->inbandAccessor().emplaceChannel(1, "System.Ethernet.MacAddress", false);
    const auto inputs = factory().buildConnector(device);
    inputs->store({{ECircuit::Inputs}, used, {}});
    const auto measures = factory().buildMeasureConnector(device);
    HandlerData voltage{{EMeasurement::Voltage}, {}, {}};
    measures->load(voltage);
    manager.sanitize();
    EXPECT_EQ(TessAccessor::UNKNOWN_ID, other->deviceIdOf(stale));
    EXPECT_NE(TessAccessor::UNKNOWN_ID, other->deviceIdOf(used));
    EXPECT_EQ((std::set<std::string>{"PowerDistribution.Measure.Voltage", "System.Ethernet.MacAddress"}),
              channelNames());
}

TEST_F(ConnectorsOnStoreTest, AWorkerThatResolvesWhileTheStoreIsCleanedKeepsItsChannels) {
    for (int round = 0; round < 20; ++round) {
        const auto statuses = factory().buildStatusConnector(device);
        std::atomic<bool> started{false};
        std::thread worker{[&] {
            for (std::uint32_t member = 1; member <= 20; ++member) {
                HandlerData data{{static_cast<EStatus>(member)}, {}, {}};
                statuses->load(data);
                started = true;
            }
        }};
        while (!started) {
            std::this_thread::yield();
        }
        manager.sanitize();
        worker.join();
        EXPECT_EQ(20u, channelNames().size());
        const TessResources inUse = statuses->getResourcesInUse();
        for (const auto& [id, channels] : inUse.resources()) {
            for (const std::uint64_t channel : channels) {
                ASSERT_NE(qz::datatype::unknown, other->inbandAccessor().getChannelDataType(channel));
            }
        }
        other->inbandAccessor().removeAllChannelsExcept(20, {});
    }
}

TEST_F(ConnectorsOnStoreTest, AConnectorMayEndWhileTheStoreReports) {
    auto& inBand = other->inbandAccessor();
    const std::uint64_t channel =
        inBand.emplaceChannel(20, "PowerDistribution.Setting.BypassTransferEnabled", false);
    std::atomic<bool> stop{false};
    std::thread writer{[&] {
        for (bool value = false; !stop; value = !value) {
            inBand.setChannelCValue(channel, qz::CValue{value});
        }
    }};
    for (int round = 0; round < 50; ++round) {
        auto settings = factory().buildSettingConnector(device);
        const HandlerData setting{{ESetting::BypassTransferEnabled}, {}, {}};
        Ear ear;
        settings->subscribe(setting, &ear, {true, false});
        ear.waitFor(1);
        if (round % 2 == 0) {
            settings->unsubscribe(setting, &ear);
        }
        settings.reset();
    }
    stop = true;
    writer.join();
    EXPECT_EQ(1u, manager.size());
}

TEST_F(ConnectorsOnStoreTest, AConnectorMayBeEndedByItsOwnListenerOnTheStoresThread) {
    std::atomic<bool> ended{false};
    ConnectorPtr settings = factory().buildSettingConnector(device);
    class Last : public IConnectorListener {
    public:
        Last(ConnectorPtr& owned, std::atomic<bool>& flag) : handle{owned}, done{flag} {}
        void onConnectorValueChange(const HandlerData&) override {
            handle.reset();
            done = true;
        }

    private:
        ConnectorPtr& handle;
        std::atomic<bool>& done;
    };
    Last last{settings, ended};
    settings->subscribe({{ESetting::BypassTransferEnabled}, {}, {}}, &last, {true, false});
    auto& inBand = other->inbandAccessor();
    inBand.setChannelCValue(inBand.getCatchedChannelId(20, "PowerDistribution.Setting.BypassTransferEnabled"),
                            qz::CValue{true});
    while (!ended) {
        std::this_thread::yield();
    }
    EXPECT_EQ(1u, manager.size());
}

} // namespace
} // namespace velk::powerdistribution::connectors
