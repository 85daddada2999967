#include "tests/integration/LifecycleFixture.h"

#include <atomic>
#include <thread>

namespace velk::testing {
namespace {

using namespace velk::powerdistribution;

/// What a running manager tells of the data points of its device.
class DeviceDescriptionTest : public LifecycleFixture {
protected:
    std::string pluginOf(const std::string& point) const {
        const PointDescription description = manager->describe(point);
        return description.publishers.empty() ? "none" : description.publishers[0].plugin;
    }

    const std::string plugin{VELK_BINARY_DIR "/tests/scripted/scripted.so"};
};

TEST_F(DeviceDescriptionTest, ManagerThatNeverRanKnowsNothing) {
    const PointDescription description = PowerDistributionManager{}.describe("Status.Mode");
    EXPECT_FALSE(description.modelBuilt);
    EXPECT_TRUE(description.publishers.empty());
}

TEST_F(DeviceDescriptionTest, DataPointOfTheDeviceIsOfThePluginThatFoundIt) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    EXPECT_EQ(pluginOf("Status.Mode"), plugin);
    EXPECT_EQ(pluginOf("Attribute.Uuid"), plugin);
    EXPECT_EQ(pluginOf("Status.OperatingStatus"), "");
    EXPECT_EQ(pluginOf("Status.HealthState"), "");
    EXPECT_EQ(pluginOf("CommunicationStatus.State"), plugin);
    EXPECT_EQ(pluginOf("Status.Nothing"), "none");
    EXPECT_TRUE(awaitThat([this] { return manager->describe("Status.Mode").publishers[0].reads > 2; }));
    EXPECT_EQ(manager->describe("Status.Mode").publishers[0].rank, 0U);
}

TEST_F(DeviceDescriptionTest, PollThatFailsIsToldWithItsText) {
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    device->factory->point({EStatus::Mode}).throwOnRead("register does not answer");
    EXPECT_TRUE(awaitThat([this] {
        return manager->describe("Status.Mode").publishers[0].failure == "register does not answer";
    }));
}

TEST_F(DeviceDescriptionTest, QuestionsMayComeWhileTheModelIsBuiltAnewAndAfterTheEnd) {
    std::atomic<bool> asking{true};
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    std::thread asker{[&] {
        while (asking) {
            manager->describe("Status.Mode");
        }
    }};
    link->setValue(Value{std::uint32_t{3}});
    EXPECT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY"));
    device->factory->point({EProperty::Identification, EAttribute::FirmwareVersion})
        .setValue(Value{std::string{"2.0"}});
    link->setValue(Value{std::uint32_t{2}});
    EXPECT_TRUE(runTo("BUILD", 2));
    EXPECT_TRUE(runTo("MONITOR", 2));
    EXPECT_EQ(manager->describe("Status.Mode").publishers.size(), 1U);
    finish();
    EXPECT_EQ(pluginOf("Status.Mode"), plugin);
    asking = false;
    asker.join();
}

} // namespace
} // namespace velk::testing
