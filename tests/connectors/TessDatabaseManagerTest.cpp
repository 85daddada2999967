#include "powerdistribution/connectors/TessDatabaseManager.h"

#include "powerdistribution/alarms/AlarmTessConnector.h"
#include "powerdistribution/connectors/ChannelTessConnector.h"
#include "powerdistribution/connectors/DeviceAttributeTessConnector.h"
#include "powerdistribution/connectors/DeviceTessConnector.h"
#include "powerdistribution/connectors/SystemTessConnector.h"
#include "powerdistribution/connectors/TessConnectorFactory.h"
#include "testing/FakeTessAccessor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace velk::powerdistribution::connectors {
namespace {

using testing::FakeTessAccessor;
using velk::common::Uuid;

const Uuid uuid{"00000000-0000-4000-8000-000000000020"};

class TessDatabaseManagerTest : public ::testing::Test {
protected:
    TessDatabaseManagerTest() {
        auto client = std::make_unique<FakeTessAccessor>();
        store = client.get();
        store->addDevice(20, uuid, 1);
        manager = std::make_unique<TessDatabaseManager>(std::move(client));
    }

    const IConnectorFactory& factory() const { return manager->connectorFactory(); }

    FakeTessAccessor* store;
    std::unique_ptr<TessDatabaseManager> manager;
};

template <typename T>
bool isA(const ConnectorPtr& connector) {
    return dynamic_cast<const T*>(connector.get()) != nullptr;
}

/// The connector's table has exactly `size` entries: the last member has one, the next number none.
template <typename E>
void expectChannels(const ConnectorPtr& connector, unsigned int size) {
    const auto* channels = dynamic_cast<const ChannelTessConnector<E>*>(connector.get());
    ASSERT_NE(nullptr, channels);
    EXPECT_NO_THROW(channels->getChannel({{static_cast<E>(size)}, {}, {}}));
    EXPECT_THROW(channels->getChannel({{static_cast<E>(size + 1)}, {}, {}}), std::out_of_range);
}

TEST_F(TessDatabaseManagerTest, EveryOperationBuildsItsConnector) {
    EXPECT_TRUE(isA<DeviceTessConnector>(factory().buildConnector(uuid)));
    EXPECT_TRUE(isA<AlarmTessConnector>(factory().buildAlarmConnector(uuid)));
    EXPECT_TRUE(isA<DeviceAttributeTessConnector>(factory().buildAttributeConnector(uuid)));
    EXPECT_TRUE(isA<SystemTessConnector>(factory().buildSystemConnector()));
}

TEST_F(TessDatabaseManagerTest, EveryFamilyHasATableOfItsSize) {
    expectChannels<ESpecification>(factory().buildSpecificationConnector(uuid), 50);
    expectChannels<EStatus>(factory().buildStatusConnector(uuid), 102);
    expectChannels<EMeasurement>(factory().buildMeasureConnector(uuid), 37);
    expectChannels<ESetting>(factory().buildSettingConnector(uuid), 45);
    expectChannels<EAction>(factory().buildActionConnector(uuid), 8);
    expectChannels<EPrivateAction>(factory().buildPrivateActionConnector(uuid), 7);
    expectChannels<ECommunicationStatus>(factory().buildCommunicationStatusConnector(uuid), 2);
}

TEST_F(TessDatabaseManagerTest, BuildingAsksOnlyForTheDevice) {
    const auto status = factory().buildStatusConnector(uuid);
    const auto alarm = factory().buildAlarmConnector(uuid);
    EXPECT_EQ(std::vector<std::string>{"deviceIdOf(" + uuid.toString() + ")"}, store->calls());
}

TEST_F(TessDatabaseManagerTest, EveryCallBuildsANewConnector) {
    const auto first = factory().buildStatusConnector(uuid);
    const auto second = factory().buildStatusConnector(uuid);
    EXPECT_NE(first, second);
    EXPECT_EQ(2u, manager->size());
}

TEST_F(TessDatabaseManagerTest, TheDeviceConnectorTakesTheParentsUuid) {
    const Uuid child{"00000000-0000-4000-8000-0000000000cc"};
    const auto connector = factory().buildConnector(uuid);
    connector->store({{ECircuit::Inputs}, child, {}});
    EXPECT_EQ(std::vector<std::string>{"emplaceDevice(" + child.toString() + ", 20, 0)"},
              store->calls("emplaceDevice"));
}

TEST_F(TessDatabaseManagerTest, TheRootParentIsDeviceOne) {
    EXPECT_EQ(FakeTessAccessor::ROOT_UUID, factory().getRootParentUuid());
    EXPECT_EQ(std::vector<std::string>{"uuidOf(1)"}, store->calls());
}

TEST_F(TessDatabaseManagerTest, AConnectorLeavesWithItsLastHandle) {
    auto connector = factory().buildStatusConnector(uuid);
    EXPECT_EQ(1u, manager->size());
    connector.reset();
    EXPECT_EQ(0u, manager->size());
}

TEST_F(TessDatabaseManagerTest, WithoutConnectorsSanitizeLeavesTheStoreAlone) {
    manager->sanitize();
    EXPECT_TRUE(store->calls().empty());
}

TEST_F(TessDatabaseManagerTest, ADeviceThatIsNotMadeYetIsNotInUse) {
    const auto connector = factory().buildConnector(uuid);
    const auto alarms = factory().buildAlarmConnector(uuid);
    const auto host = factory().buildSystemConnector();
    manager->sanitize();
    EXPECT_TRUE(store->calls("remove").empty());
}

TEST_F(TessDatabaseManagerTest, TwoConnectorsOfOneDeviceAreCleanedInOneCallEach) {
    const auto status = factory().buildStatusConnector(uuid);
    const auto setting = factory().buildSettingConnector(uuid);
    status->store({{EStatus::Mode}, std::string{"x"}, {}});
    setting->store({{ESetting::Temperature}, std::string{"y"}, {}});
    store->forgetCalls();
    manager->sanitize();
    EXPECT_EQ((std::vector<std::string>{"removeAllSubDevicesExcept(20, [20], 2147483647)",
                                        "removeAllChannelsExcept(20, [1000 1001])"}),
              store->calls());
}

TEST_F(TessDatabaseManagerTest, EveryDeviceInUseIsKeptUnderEveryOther) {
    const Uuid child{"00000000-0000-4000-8000-0000000000cc"};
    const auto root = factory().buildConnector(FakeTessAccessor::ROOT_UUID);
    root->store({{ECircuit::PowerDistribution}, uuid, {}});
    const auto inputs = factory().buildConnector(uuid);
    inputs->store({{ECircuit::Inputs}, child, {}});
    store->addDevice(77, Uuid{"00000000-0000-4000-8000-0000000000dd"}, 20);
    manager->sanitize();
    auto removals = store->calls("removeAllSubDevicesExcept");
    std::sort(removals.begin(), removals.end());
    EXPECT_EQ((std::vector<std::string>{"removeAllSubDevicesExcept(1000, [20 1000], 2147483647)",
                                        "removeAllSubDevicesExcept(20, [20 1000], 2147483647)"}),
              removals);
    EXPECT_EQ((std::vector<std::uint64_t>{1, 20, 1000}), store->deviceIds());
    EXPECT_EQ(2u, manager->size());
}

TEST_F(TessDatabaseManagerTest, SanitizeStopsAtTheFirstFailure) {
    const auto status = factory().buildStatusConnector(uuid);
    store->faults().failOn("removeAllSubDevicesExcept");
    EXPECT_THROW(manager->sanitize(), boost::system::system_error);
    EXPECT_TRUE(store->calls("removeAllChannelsExcept").empty());
    // The gate is open again.
    status->store({{EStatus::Mode}, std::string{"x"}, {}});
    EXPECT_EQ(1u, store->calls("setChannelCValue").size());
}

} // namespace
} // namespace velk::powerdistribution::connectors
