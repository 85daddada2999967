#include "tests/integration/LifecycleFixture.h"

#include <chrono>
#include <sstream>
#include <utility>

namespace velk::testing {
namespace {

using namespace velk::powerdistribution;

class LifecycleTest : public LifecycleFixture {};

TEST_F(LifecycleTest, ManagerThatNeverRanSaysNothing) {
    PowerDistributionManager idle;
    idle.exit();
    EXPECT_EQ(idle.operatingStatus(), 0U);
    EXPECT_EQ(output.text(), "");
}

TEST_F(LifecycleTest, FirstStartGoesThroughEveryStateAndPublishesTheDevice) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE BUILD INITIALIZE START MONITOR");
    EXPECT_EQ(manager->operatingStatus(), 16U);
    EXPECT_TRUE(store->await("PowerEquipment.Status.OperatingStatus", qz::CValue{std::uint32_t{16}}));
    EXPECT_TRUE(store->await("PowerDistribution.Status.Mode", qz::CValue{std::uint32_t{2}}));
    EXPECT_TRUE(store->await("PowerDistribution.Status.OperatingStatus", qz::CValue{std::uint32_t{16}}));
    EXPECT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{2}}));
    EXPECT_EQ(store->client().uuidOf(20), deviceUuid);
    EXPECT_EQ(store->client().inbandAccessor().getDevice(20).parentId, 2U);
    EXPECT_EQ(store->client().inbandAccessor().getDevice(2).parentId, 1U);
    EXPECT_EQ(
        store->client().inbandAccessor().getDeviceAttribute(20, tessapi::DeviceAttribute::firmwareVersion),
        "1.0");
}

TEST_F(LifecycleTest, ExitGoesThroughStopToEndAndTheStoreKeepsTheLastState) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    finish();
    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE BUILD INITIALIZE START MONITOR STOP END");
    EXPECT_NE(output.text().find("Exit PowerDistributionManager state machine is requested\n"),
              std::string::npos);
    EXPECT_EQ(manager->operatingStatus(), 5U);
    EXPECT_EQ(store->value("PowerEquipment.Status.OperatingStatus"), qz::CValue{std::uint32_t{5}});
    EXPECT_EQ(store->value("PowerDistribution.Status.Mode"), qz::CValue{std::uint32_t{2}});
    EXPECT_EQ(device->log->calls().back(), "protocol.disconnect");
    manager.reset();
    EXPECT_EQ(device->log->count("protocol.stop"), 1U);
    EXPECT_EQ(device->log->calls().back(), "protocol.destroyed");
}

TEST_F(LifecycleTest, HostIsToldEachServiceStateAsItIsEntered) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    finish();
    EXPECT_EQ(serviceStates, (std::vector<std::uint32_t>{3, 16, 4, 5}));
}

TEST_F(LifecycleTest, EachServiceStateStandsInTheStoreAndThePollingGoesOnBetweenStartAndStop) {
    FakePoint& mode = device->factory->point({EStatus::Mode});
    std::vector<std::string> seen;
    onServiceState = [&](std::uint32_t state) {
        const std::size_t reads = mode.reads();
        const bool polled =
            (state == 16 || state == 4) && awaitThat([&] { return mode.reads() > reads + 1; });
        std::ostringstream line;
        line << manager->operatingStatus() << ' ' << store->value("PowerEquipment.Status.OperatingStatus")
             << (polled ? " polled" : "");
        seen.push_back(line.str());
    };
    start();
    EXPECT_TRUE(output.awaitState("MONITOR"));
    finish();
    EXPECT_EQ(seen, (std::vector<std::string>{"3 invalid", "16 16 polled", "4 4 polled", "5 5"}));
}

TEST_F(LifecycleTest, DeviceIsLetGoAfterThePollingAndBeforeTheLastReport) {
    FakePoint& polled = device->factory->add({EStatus::Overload}, Value{false});
    qz::CValue linkAtTheEnd;
    onServiceState = [&](std::uint32_t state) {
        if (state == 5) {
            linkAtTheEnd = store->value("PowerDistribution.CommunicationStatus.State");
        }
    };
    start();
    EXPECT_TRUE(output.awaitState("MONITOR"));
    EXPECT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{2}}));
    qz::CValue stateAtDisconnect;
    std::size_t expectedReads = 0;
    device->protocol.lock()->onDisconnect([&] {
        stateAtDisconnect = store->value("PowerEquipment.Status.OperatingStatus");
        link->setValue(Value{std::uint32_t{3}});
        // A refresh of the last cycle may still be under way. Polling that went on would come by again and
        // again: its longest rest is a millisecond.
        expectedReads = polled.reads() + 1;
        const auto patience = std::chrono::steady_clock::now() + std::chrono::milliseconds{50};
        while (std::chrono::steady_clock::now() < patience && polled.reads() <= expectedReads) {
            std::this_thread::yield();
        }
    });
    finish();
    EXPECT_EQ(stateAtDisconnect, qz::CValue{std::uint32_t{4}});
    EXPECT_LE(polled.reads(), expectedReads);
    EXPECT_EQ(linkAtTheEnd, qz::CValue{std::uint32_t{3}});
}

TEST_F(LifecycleTest, SecondExecReturnsAtOnceDuringAndAfterTheFirst) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    manager->exec(attributesOfRun());
    EXPECT_EQ(countOf("DISCOVER"), 1U);
    finish();
    manager->exec(attributesOfRun());
    EXPECT_EQ(countOf("DISCOVER"), 1U);
}

TEST_F(LifecycleTest, ExitEndsASearchThatFindsNothing) {
    device->found = false;
    start();
    pass();
    pass();
    EXPECT_EQ(output.states(), "DISCOVER");
    EXPECT_EQ(manager->operatingStatus(), 3U);
    EXPECT_GE(device->log->count("protocol.discover"), 2U);
    finish();
    EXPECT_EQ(output.states(), "DISCOVER STOP END");
}

TEST_F(LifecycleTest, SameDeviceBackAfterALossKeepsItsModel) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    ASSERT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{2}}));
    const std::uint64_t channel = store->channel("PowerDistribution.Status.Mode").id;

    link->setValue(Value{std::uint32_t{3}});
    ASSERT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{3}}));
    ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY"));
    link->setValue(Value{std::uint32_t{2}});
    ASSERT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{2}}));
    ASSERT_TRUE(runTo("MONITOR", 2));

    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE BUILD INITIALIZE START MONITOR COMMUNICATION_LOST "
                               "WAIT_COMMUNICATION_RECOVERY ENUMERATE INITIALIZE START MONITOR");
    EXPECT_EQ(store->channel("PowerDistribution.Status.Mode").id, channel);
    EXPECT_EQ(device->log->count("protocol.disconnect"), 0U);

    device->factory->point({EStatus::Mode}).setValue(Value{std::uint32_t{3}});
    EXPECT_TRUE(store->await("PowerDistribution.Status.Mode", qz::CValue{std::uint32_t{3}}));
}

TEST_F(LifecycleTest, OtherFirmwareAfterALossBuildsTheModelAnew) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    link->setValue(Value{std::uint32_t{3}});
    ASSERT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{3}}));
    ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY"));
    device->factory->point({EProperty::Identification, EAttribute::FirmwareVersion})
        .setValue(Value{std::string{"2.0"}});
    link->setValue(Value{std::uint32_t{2}});
    ASSERT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{2}}));
    ASSERT_TRUE(runTo("MONITOR", 2));
    EXPECT_EQ(countOf("BUILD"), 2U);
    EXPECT_EQ(
        store->client().inbandAccessor().getDeviceAttribute(20, tessapi::DeviceAttribute::firmwareVersion),
        "2.0");
    EXPECT_EQ(store->client().uuidOf(20), deviceUuid);
}

TEST_F(LifecycleTest, OtherDeviceAfterALossTakesTheSeatOfTheFormer) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    link->setValue(Value{std::uint32_t{3}});
    ASSERT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{3}}));
    ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY"));
    const velk::common::Uuid other{"11111111-2222-4333-8444-555555555555"};
    device->factory->point({EProperty::Identification, EAttribute::Uuid}).setValue(Value{other.toString()});
    link->setValue(Value{std::uint32_t{2}});
    ASSERT_TRUE(runTo("MONITOR", 2));
    EXPECT_EQ(countOf("BUILD"), 2U);
    EXPECT_EQ(store->client().uuidOf(20), other);
}

TEST_F(LifecycleTest, DeviceWithoutIdentityIsBuiltOnEveryPass) {
    device->factory->remove({EProperty::Identification, EAttribute::Uuid});
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    link->setValue(Value{std::uint32_t{3}});
    awaitLinkSeen();
    ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY"));
    link->setValue(Value{std::uint32_t{2}});
    awaitLinkSeen();
    ASSERT_TRUE(runTo("MONITOR", 2));
    EXPECT_EQ(countOf("BUILD"), 2U);
}

TEST_F(LifecycleTest, FailedBuildIsClearedBeforeTheNextTry) {
    FakePoint& model =
        device->factory->add({EProperty::Identification, EAttribute::Model}, Value{std::string{"M"}});
    device->factory->point({EStatus::Mode}).setValue(Value{2.0F}); // keeps the model from initialising
    device->factory->throwOnBuild({EStatus::Overload}, "no answer");
    ::testing::internal::CaptureStderr();
    start();
    ASSERT_TRUE(runTo("BUILD"));
    ASSERT_TRUE(awaitPause());
    FakePoint& location =
        device->factory->add({EProperty::Identification, EAttribute::Location}, Value{std::string{"L"}});
    device->factory->throwOnBuild({EStatus::Overload}, "");
    ASSERT_TRUE(runTo("INITIALIZE"));
    ASSERT_TRUE(awaitPause());
    EXPECT_GT(location.reads(), 0U);
    EXPECT_EQ(model.reads(), location.reads()) << "handlers of the failed build are initialised no more";
    finish();
    ::testing::internal::GetCapturedStderr();
}

TEST_F(LifecycleTest, FailingBuildIsTriedAgainUntilItWorks) {
    device->factory->throwOnBuild({EStatus::Overload}, "no answer");
    ::testing::internal::CaptureStderr();
    start();
    pass();
    pass();
    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE BUILD");
    device->factory->throwOnBuild({EStatus::Overload}, "");
    EXPECT_TRUE(runTo("MONITOR"));
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("Failed to build data model: no answer\n"), std::string::npos) << errors;
}

TEST_F(LifecycleTest, BuildThatALossHasKeptFromRunningIsStillDue) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    link->setValue(Value{std::uint32_t{3}});
    ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY"));
    // The device comes back with another firmware and one data point more, and the link is lost again while
    // it is read.
    device->factory->point({EProperty::Identification, EAttribute::FirmwareVersion})
        .setValue(Value{std::string{"2.0"}});
    device->factory->add({EStatus::Overload}, Value{false});
    bool lostAgain = false;
    device->onEnumerate = [this, &lostAgain] {
        if (!std::exchange(lostAgain, true)) {
            link->setValue(Value{std::uint32_t{3}});
            store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{3}});
            // It is told right after it is stored; a few more looks at the link take longer than that.
            for (int looks = 0; looks < 10; ++looks) {
                awaitLinkSeen();
            }
        }
    };
    link->setValue(Value{std::uint32_t{2}});
    ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY", 2));
    link->setValue(Value{std::uint32_t{2}});
    // Only a model that was built for the new firmware has the new data point.
    const auto isBuiltAnew = [this] {
        return store->channel("PowerDistribution.Status.Overload").initialized;
    };
    EXPECT_TRUE(awaitThat([&] {
        pass();
        return isBuiltAnew();
    }));
    finish();
    device->onEnumerate = {};
}

TEST_F(LifecycleTest, ModelThatWasBuiltWithoutTheLinkIsBuiltAgainAndCleansNothing) {
    const velk::common::Uuid leftover{"00000000-0000-4000-8000-000000000009"};
    tessapi::TessAccessor& client = store->client();
    client.emplaceDevice(leftover, client.emplaceDevice(deviceUuid, 1, 20), 0);
    bool lost = false;
    device->onEnumerate = [this, &lost] {
        if (!std::exchange(lost, true)) {
            link->setValue(Value{std::uint32_t{3}});
        }
    };
    start();
    ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY"));
    EXPECT_NE(client.deviceIdOf(leftover), tessapi::ITessAccessor::UNKNOWN_ID);
    link->setValue(Value{std::uint32_t{2}});
    ASSERT_TRUE(runTo("MONITOR"));
    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE BUILD INITIALIZE START COMMUNICATION_LOST "
                               "WAIT_COMMUNICATION_RECOVERY ENUMERATE BUILD INITIALIZE START MONITOR");
    EXPECT_EQ(client.deviceIdOf(leftover), tessapi::ITessAccessor::UNKNOWN_ID);
    finish();
    device->onEnumerate = {};
}

TEST_F(LifecycleTest, LossIsPublishedWhileTheDeviceIsLetGo) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    ASSERT_TRUE(store->await("PowerDistribution.CommunicationStatus.State", qz::CValue{std::uint32_t{2}}));
    device->protocol.lock()->onDisconnect([this] { link->setValue(Value{std::uint32_t{3}}); });
    finish();
    EXPECT_EQ(store->value("PowerDistribution.CommunicationStatus.State"), qz::CValue{std::uint32_t{3}});
    EXPECT_EQ(device->log->count("protocol.disconnect"), 1U);
}

TEST_F(LifecycleTest, SampleOfTheWrongTypeKeepsTheModelFromInitialisingAndNothingIsCleaned) {
    device->factory->point({EStatus::Mode}).setValue(Value{2.0F});
    ::testing::internal::CaptureStderr();
    start();
    pass();
    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE BUILD INITIALIZE");
    EXPECT_EQ(manager->operatingStatus(), 3U);
    tessapi::TessAccessor& client = store->client();
    const velk::common::Uuid leftover{"00000000-0000-4000-8000-000000000002"};
    ASSERT_NE(client.emplaceDevice(leftover, 20, 0), tessapi::ITessAccessor::UNKNOWN_ID);
    pass();
    EXPECT_NE(client.deviceIdOf(leftover), tessapi::ITessAccessor::UNKNOWN_ID);
    device->factory->point({EStatus::Mode}).setValue(Value{std::uint32_t{2}});
    EXPECT_TRUE(runTo("MONITOR"));
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(
        errors.find(
            "Failed to initialize data model: FATAL ERROR - HandlerData(path=Status.Mode, value=2) does "
            "not contains expected type (contains float, expected uint32)"),
        std::string::npos)
        << errors;
    EXPECT_EQ(client.deviceIdOf(leftover), tessapi::ITessAccessor::UNKNOWN_ID);
}

TEST_F(LifecycleTest, LeftoversOfAnEarlierDeviceAreRemoved) {
    tessapi::TessAccessor& client = store->client();
    const velk::common::Uuid stale{"00000000-0000-4000-8000-000000000003"};
    const std::uint64_t equipment =
        client.emplaceDevice(velk::common::Uuid{"00000000-0000-4000-8000-000000000001"}, 1, 2);
    const std::uint64_t former =
        client.emplaceDevice(velk::common::Uuid{"00000000-0000-4000-8000-000000000002"}, equipment, 20);
    ASSERT_EQ(former, 20U);
    client.emplaceDevice(stale, former, 0);
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    EXPECT_EQ(client.deviceIdOf(stale), tessapi::ITessAccessor::UNKNOWN_ID);
    EXPECT_EQ(client.uuidOf(20), deviceUuid);
    EXPECT_EQ(client.inbandAccessor().getCatchedChannelId(20, "PowerDistribution.Status.Overload"),
              tessapi::ITessAccessor::UNKNOWN_ID);
}

TEST_F(LifecycleTest, SettingWrittenInTheStoreReachesTheDeviceOnceAndIsReported) {
    FakePoint& sound = device->factory->add({ESetting::AudibleAlarmControl}, Value{std::uint32_t{2}});
    std::vector<DeviceWrite> reports;
    velk::common::Mutex mutex;
    start([&](const DeviceWrite& write) {
        const velk::common::MutexLock lock{mutex};
        reports.push_back(write);
    });
    ASSERT_TRUE(output.awaitState("MONITOR"));
    const std::string path{"PowerDistribution.Setting.AudibleAlarmControl"};
    ASSERT_TRUE(store->await(path, qz::CValue{std::uint32_t{2}}));
    store->write(path, qz::CValue{std::uint32_t{3}});
    ASSERT_TRUE(awaitThat([&] {
        const velk::common::MutexLock lock{mutex};
        return !reports.empty();
    }));
    finish();
    EXPECT_EQ(sound.written(), std::vector<Value>{Value{std::uint32_t{3}}});
    const velk::common::MutexLock lock{mutex};
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].device, "");
    EXPECT_EQ(reports[0].channel, "Setting.AudibleAlarmControl");
    EXPECT_TRUE(reports[0].accepted);
    manager.reset(); // its listener refers to this test's variables
}

TEST_F(LifecycleTest, SameActionRequestedTwiceStartsTwice) {
    FakePoint& test = device->factory->add({EAction::StartTest}, Value{});
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    const std::string path{"PowerDistribution.Action.StartTest"};
    ASSERT_NE(store->channel(path).id, tessapi::ITessAccessor::UNKNOWN_ID);
    store->write(path, qz::CValue{true});
    store->write(path, qz::CValue{true});
    ASSERT_TRUE(awaitThat([&] { return test.writes() >= 2; }));
    EXPECT_EQ(test.written(), (std::vector<Value>{Value{true}, Value{true}}));
}

TEST_F(LifecycleTest, ExceptionOfAPluginLeavesExecAndTheManagerCanBeDestroyed) {
    device->factory->add({EPrivate::AlarmConfigurationFile}, Value{std::string{"/nowhere/alarms.json"}});
    start();
    runner.join();
    EXPECT_NE(failure.find("line 1"), std::string::npos) << failure; // an empty text is no JSON
    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE");
    manager.reset();
    EXPECT_EQ(device->log->calls().back(), "protocol.destroyed");
}

} // namespace
} // namespace velk::testing
