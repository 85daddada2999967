#include "powerdistribution/protocols/ProtocolsManager.h"

#include "powerdistribution/core/PathConstants.h"
#include "testing/TemporaryDirectory.h"
#include "tests/protocols/plugin/PluginHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using velk::common::Uuid;
using velk::powerdistribution::Configuration;
using velk::powerdistribution::Value;
namespace paths = velk::powerdistribution::paths;
using velk::powerdistribution::protocols::ProtocolsManager;
using Events = std::vector<std::string>;

const Uuid UUID_OF_A{"aaaaaaaa-0000-4000-8000-000000000000"};
const Uuid UUID_OF_B{"bbbbbbbb-0000-4000-8000-000000000000"};

/// Every test loads the two plug-ins "a" and "b", in this order, from their folder.
class ProtocolsManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        host.scripts.clear();
        host.log->clear();
    }

    void load(const std::string& path = VELK_TEST_PLUGIN_FOLDER) {
        Configuration configuration;
        configuration.path = path;
        manager = std::make_unique<ProtocolsManager>(configuration);
    }

    /// What the plug-ins told since the last call.
    Events events() {
        Events all = host.log->calls();
        host.log->clear();
        return all;
    }

    PluginHost& host = PluginHost::instance();
    std::unique_ptr<ProtocolsManager> manager;
};

TEST_F(ProtocolsManagerTest, CreatesAllProtocolsThenStartsThemInOrder) {
    load();
    EXPECT_EQ(events(), (Events{"a.create", "a.builder released", "b.create", "b.builder released", "a.start",
                                "b.start"}));
}

TEST_F(ProtocolsManagerTest, PathReachesThePluginsAsItIs) {
    load();
    EXPECT_EQ(host.configurationPath, VELK_TEST_PLUGIN_FOLDER);
}

TEST_F(ProtocolsManagerTest, PluginsCanBeNamedInAConfigurationFile) {
    const velk::testing::TemporaryDirectory folder;
    const std::string file = folder / "config.json";
    std::ofstream{file} << R"({"protocolLibraries": [")" << VELK_TEST_PLUGIN_FOLDER << R"(/libb.so"]})";
    load(file);
    EXPECT_EQ(events(), (Events{"b.create", "b.builder released", "b.start"}));
}

TEST_F(ProtocolsManagerTest, EmptyPathLoadsNothing) {
    load("");
    EXPECT_FALSE(manager->discover());
    EXPECT_FALSE(manager->enumerate());
    EXPECT_EQ(events(), Events{});
}

TEST_F(ProtocolsManagerTest, PlaceWithoutPluginsIsNoFailure) {
    const velk::testing::TemporaryDirectory folder;
    load(folder.path());
    EXPECT_FALSE(manager->discover());
    EXPECT_FALSE(manager->discover());
}

TEST_F(ProtocolsManagerTest, DiscoverAsksInOrderUntilOneFindsTheDevice) {
    host.scripts["b"].found = true;
    load();
    events();
    EXPECT_TRUE(manager->discover());
    EXPECT_EQ(events(), (Events{"a.discover", "b.discover"}));
}

TEST_F(ProtocolsManagerTest, FirstThatFindsTheDeviceWinsAndTheSecondIsNotAsked) {
    host.scripts["a"].found = true;
    host.scripts["b"].found = true;
    load();
    events();
    EXPECT_TRUE(manager->discover());
    EXPECT_EQ(events(), Events{"a.discover"});
    ASSERT_TRUE(manager->enumerate());
    EXPECT_EQ(manager->wrapperFactory->protocolUuid(), UUID_OF_A);
}

TEST_F(ProtocolsManagerTest, DiscoverIsFalseWhereNobodyFindsTheDevice) {
    load();
    events();
    EXPECT_FALSE(manager->discover());
    EXPECT_EQ(events(), (Events{"a.discover", "b.discover"}));
    EXPECT_FALSE(manager->enumerate());
}

TEST_F(ProtocolsManagerTest, DiscoverDisconnectsBeforeItAsksAgain) {
    host.scripts["b"].found = true;
    load();
    manager->discover();
    events();
    EXPECT_TRUE(manager->discover());
    EXPECT_EQ(events(), (Events{"b.disconnect", "a.discover", "b.discover"}));
}

TEST_F(ProtocolsManagerTest, EnumerateBeforeDiscoverIsFalse) {
    load();
    EXPECT_FALSE(manager->enumerate());
    EXPECT_EQ(manager->wrapperFactory, nullptr);
}

TEST_F(ProtocolsManagerTest, EnumerateGivesTheFactoryOfTheLibraryWithTheProtocolsUuid) {
    host.scripts["b"].found = true;
    load();
    manager->discover();
    events();
    EXPECT_TRUE(manager->enumerate());
    ASSERT_TRUE(manager->wrapperFactory);
    EXPECT_EQ(manager->wrapperFactory->protocolUuid(), UUID_OF_B);
    EXPECT_EQ(events(), Events{"b.factory made"});
}

TEST_F(ProtocolsManagerTest, StaticTableOfAPluginIsWholeWhenItIsLoaded) {
    host.scripts["a"].found = true;
    load();
    ASSERT_TRUE(manager->discover());
    ASSERT_TRUE(manager->enumerate());
    const auto voltage = manager->wrapperFactory->buildWrapper(paths::input1MeasureVoltage);
    ASSERT_TRUE(voltage);
    EXPECT_EQ(voltage->read(), Value{230.0f});
    const auto current = manager->wrapperFactory->buildWrapper(paths::output1MeasureCurrent);
    ASSERT_TRUE(current);
    EXPECT_EQ(current->read(), Value{10.0f});
    EXPECT_FALSE(manager->wrapperFactory->buildWrapper(paths::measureVoltage));
}

TEST_F(ProtocolsManagerTest, EnumerateReplacesTheFactoryFromBefore) {
    host.scripts["a"].found = true;
    load();
    manager->discover();
    manager->enumerate();
    events();
    EXPECT_TRUE(manager->enumerate());
    EXPECT_EQ(events(), (Events{"a.factory made", "a.factory destroyed"}));
}

TEST_F(ProtocolsManagerTest, ProtocolOfNoLibraryFails) {
    host.scripts["a"].found = true;
    host.scripts["a"].otherProtocolUuid = Uuid::VELK_NAMESPACE;
    load();
    manager->discover();
    try {
        manager->enumerate();
        FAIL() << "no library has this protocol";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "Protocol library not found");
    }
}

TEST_F(ProtocolsManagerTest, LibraryWithoutFactoryFailsAndTheFactoryFromBeforeStays) {
    host.scripts["a"].found = true;
    load();
    manager->discover();
    manager->enumerate();
    const auto before = manager->wrapperFactory;
    host.scripts["a"].missing = "factory";
    try {
        manager->enumerate();
        FAIL() << "the library gave nothing";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(), std::string{"Protocol library gave no wrapper factory: "} +
                                      VELK_TEST_PLUGIN_FOLDER "/liba.so");
    }
    EXPECT_EQ(manager->wrapperFactory, before);
}

TEST_F(ProtocolsManagerTest, PluginWithoutProtocolIsPassedOver) {
    host.scripts["b"].found = true;
    for (const char* missing : {"builder", "protocol"}) {
        host.scripts["a"].missing = missing;
        load();
        EXPECT_TRUE(manager->discover()) << missing;
        EXPECT_TRUE(manager->enumerate()) << missing;
        EXPECT_EQ(manager->wrapperFactory->protocolUuid(), UUID_OF_B) << missing;
        manager.reset();
    }
    EXPECT_EQ(host.log->count("a.start"), 0u);
    EXPECT_EQ(host.log->count("b.stop"), 2u);
}

TEST_F(ProtocolsManagerTest, ReservedOperationsAreNeverCalled) {
    host.scripts["a"].found = true;
    load();
    manager->discover();
    manager->enumerate();
    manager->discover();
    manager->disconnect();
    manager.reset();
    EXPECT_EQ(host.log->count("a.start"), 1u);
    for (const char* reserved : {"a.reserved5", "a.reserved8", "b.reserved5", "b.reserved8"}) {
        EXPECT_EQ(host.log->count(reserved), 0u) << reserved;
    }
}

TEST_F(ProtocolsManagerTest, DisconnectLetsTheDeviceGoOnceAndKeepsTheFactory) {
    host.scripts["a"].found = true;
    load();
    manager->discover();
    manager->enumerate();
    events();
    manager->disconnect();
    EXPECT_EQ(events(), Events{"a.disconnect"});
    ASSERT_TRUE(manager->wrapperFactory);
    EXPECT_EQ(manager->wrapperFactory->protocolUuid(), UUID_OF_A);
    manager->disconnect();
    EXPECT_EQ(events(), Events{});
    EXPECT_FALSE(manager->enumerate());
}

TEST_F(ProtocolsManagerTest, NothingIsUnloadedWhileAnObjectOfItLives) {
    host.scripts["b"].found = true;
    load();
    manager->discover();
    manager->enumerate();
    events();
    manager.reset();
    Events told = events();
    const Events inOrder{"b.disconnect", "a.stop", "b.stop", "b.factory destroyed"};
    ASSERT_GE(told.size(), inOrder.size());
    EXPECT_EQ(Events(told.begin(), told.begin() + 4), inOrder);
    Events rest(told.begin() + 4, told.end());
    ASSERT_EQ(rest.size(), 4u);
    EXPECT_EQ((Events{rest[0], rest[1]}), (Events{"a.destroyed", "b.destroyed"}));
    EXPECT_EQ((Events{rest[2], rest[3]}), (Events{"a.unloaded", "b.unloaded"}));
}

TEST_F(ProtocolsManagerTest, PluginsAreLoadedAgainByTheNextManager) {
    host.scripts["a"].found = true;
    for (int round = 0; round < 3; ++round) {
        load();
        EXPECT_TRUE(manager->discover());
        EXPECT_TRUE(manager->enumerate());
        manager.reset();
    }
    EXPECT_EQ(host.log->count("a.create"), 3u);
    EXPECT_EQ(host.log->count("a.destroyed"), 3u);
    EXPECT_EQ(host.log->count("a.unloaded"), 3u);
}

TEST_F(ProtocolsManagerTest, FailureOfDiscoverPassesAndLeavesTheManagerWithoutDevice) {
    host.scripts["a"].failingOperation = "discover";
    load();
    EXPECT_THROW(manager->discover(), std::runtime_error);
    EXPECT_FALSE(manager->enumerate());
}

TEST_F(ProtocolsManagerTest, FailureOfDisconnectPassesAndTheDeviceIsStillHeld) {
    host.scripts["a"].found = true;
    host.scripts["a"].failingOperation = "disconnect";
    load();
    manager->discover();
    EXPECT_THROW(manager->disconnect(), std::runtime_error);
    EXPECT_TRUE(manager->enumerate());
    ::testing::internal::CaptureStderr();
    manager.reset();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "WARNING - Unable to disconnect a protocol: exception a fails to disconnect\n");
    EXPECT_EQ(host.log->count("a.stop"), 1u) << "a failure holds up nothing";
    EXPECT_EQ(host.log->count("a.unloaded"), 1u);
}

TEST_F(ProtocolsManagerTest, FailureOfStopIsToldAndHoldsUpNothing) {
    host.scripts["a"].failingOperation = "stop";
    load();
    ::testing::internal::CaptureStderr();
    manager.reset();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "WARNING - Unable to stop a protocol: exception a fails to stop\n");
    EXPECT_EQ(host.log->count("b.stop"), 1u);
    EXPECT_EQ(host.log->count("b.unloaded"), 1u);
}

TEST_F(ProtocolsManagerTest, WhatIsNoStandardExceptionHoldsUpNoDestructor) {
    host.scripts["a"].found = true;
    host.scripts["a"].oddException = true;
    load();
    manager->discover();
    EXPECT_THROW(manager->disconnect(), int);
    ::testing::internal::CaptureStderr();
    manager.reset();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "WARNING - Unable to disconnect a protocol: exception unknown\n"
              "WARNING - Unable to stop a protocol: exception unknown\n");
    EXPECT_EQ(host.log->count("b.stop"), 1u);
    EXPECT_EQ(host.log->count("a.unloaded"), 1u);
}

// Loading that fails keeps the plug-ins in the process, so these tests use plug-ins of their own.

TEST_F(ProtocolsManagerTest, FailureOfCreatePasses) {
    host.scripts["c"].failingOperation = "create";
    Configuration configuration;
    configuration.path = VELK_TEST_FAILING_PLUGIN_FOLDER;
    EXPECT_THROW(ProtocolsManager{configuration}, std::runtime_error);
    EXPECT_EQ(host.log->count("c.start"), 0u);
}

TEST_F(ProtocolsManagerTest, FailedStartStopsTheProtocolsThatHaveStartedAndPasses) {
    // Copies, since the originals must still be unloaded by the tests that count that.
    const velk::testing::TemporaryDirectory folder;
    for (const char* name : {"liba.so", "libb.so"}) {
        std::filesystem::copy_file(std::filesystem::path{VELK_TEST_PLUGIN_FOLDER} / name, folder / name);
    }
    host.scripts["b"].failingOperation = "start";
    try {
        load(folder.path());
        FAIL() << "the second plug-in has failed to start";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "b fails to start");
    }
    Events told = events();
    const Events inOrder{
        "a.create", "a.builder released", "b.create", "b.builder released", "a.start", "b.start", "a.stop"};
    ASSERT_EQ(told.size(), inOrder.size() + 2);
    EXPECT_EQ(Events(told.begin(), told.begin() + 7), inOrder) << "who has not started is not stopped";
    std::sort(told.begin() + 7, told.end());
    EXPECT_EQ(Events(told.begin() + 7, told.end()), (Events{"a.destroyed", "b.destroyed"}));
}

TEST_F(ProtocolsManagerTest, ExceptionOfThePluginsOwnOutlivesTheFailedManager) {
    host.scripts["c"].ownException = true;
    Configuration configuration;
    configuration.path = VELK_TEST_FAILING_PLUGIN_FOLDER;
    try {
        const ProtocolsManager failing{configuration};
        FAIL() << "the plug-in has failed to start";
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "a failure of the plug-in's own");
    }
    EXPECT_EQ(host.log->count("c.destroyed"), 1u);
    EXPECT_EQ(host.log->count("c.unloaded"), 0u);
}

} // namespace
