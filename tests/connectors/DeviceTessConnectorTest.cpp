#include "powerdistribution/connectors/DeviceTessConnector.h"

#include "platform/common/UnexpectedIndex.h"
#include "testing/FakeTessAccessor.h"

#include <gtest/gtest.h>

namespace velk::powerdistribution::connectors {
namespace {

using handlers::HandlerData;
using testing::FakeTessAccessor;
using velk::common::Uuid;

const Uuid first{"00000000-0000-4000-8000-0000000000aa"};
const Uuid second{"00000000-0000-4000-8000-0000000000bb"};
const EPath equipment{ECircuit::PowerEquipment};
const EPath distribution{ECircuit::PowerDistribution};
const EPath inputs{ECircuit::PowerDistribution, ECircuit::Inputs};

class DeviceTessConnectorTest : public ::testing::Test {
protected:
    Value loaded(const EPath& path) const {
        HandlerData data{path, {}, {AlarmConfig{}, true, true}};
        connector.load(data);
        EXPECT_FALSE(data.dataConfig.alarmConfig.has_value());
        EXPECT_EQ(path.nodesToString(), data.path.nodesToString());
        return data.value;
    }

    FakeTessAccessor store;
    DeviceTessConnector connector{store, FakeTessAccessor::ROOT_UUID};
};

TEST_F(DeviceTessConnectorTest, TheEquipmentAndTheDistributionHaveSeatsOfTheirOwn) {
    EXPECT_EQ(2u, DeviceTessConnector::getDeviceId({equipment, {}, {}}));
    EXPECT_EQ(20u, DeviceTessConnector::getDeviceId({distribution, {}, {}}));
    EXPECT_EQ(0u, DeviceTessConnector::getDeviceId({inputs, {}, {}}));
    EXPECT_EQ(0u, DeviceTessConnector::getDeviceId({}));
}

TEST_F(DeviceTessConnectorTest, TheFirstStoreMakesTheDeviceUnderItsParentAndWritesItsPath) {
    connector.store({distribution, first, {}});
    EXPECT_EQ((std::vector<std::string>{"deviceIdOf(" + FakeTessAccessor::ROOT_UUID.toString() + ")",
                                        "emplaceDevice(" + first.toString() + ", 1, 20)",
                                        "setDeviceAttribute(20, 7, PowerDistribution)"}),
              store.calls());
}

TEST_F(DeviceTessConnectorTest, TheStoreChoosesTheSeatOfOtherDevices) {
    connector.store({inputs, first, {}});
    EXPECT_EQ((std::vector<std::string>{"setDeviceAttribute(1000, 7, PowerDistribution.Inputs)"}),
              store.calls("setDeviceAttribute"));
    EXPECT_EQ(Value{first}, loaded(inputs));
}

TEST_F(DeviceTessConnectorTest, ALaterStoreWithAnotherUuidOnlyWritesThePath) {
    connector.store({distribution, first, {}});
    connector.store({inputs, second, {}});
    EXPECT_EQ(1u, store.calls("emplaceDevice").size());
    EXPECT_EQ("setDeviceAttribute(20, 7, PowerDistribution.Inputs)", store.calls().back());
    EXPECT_EQ((std::vector<std::uint64_t>{1, 20}), store.deviceIds());
}

TEST_F(DeviceTessConnectorTest, AnEmptyPathIsWrittenAsNull) {
    connector.store({{}, first, {}});
    EXPECT_EQ("setDeviceAttribute(1000, 7, Null)", store.calls().back());
}

TEST_F(DeviceTessConnectorTest, OnlyTheFirstStoreNeedsAUuid) {
    try {
        connector.store({distribution, std::string{"text"}, {}});
        FAIL() << "stored";
    } catch (const std::bad_variant_access& failure) {
        EXPECT_STREQ("Unexpected index", failure.what());
    }
    EXPECT_TRUE(store.calls().empty());
    connector.store({distribution, std::string{"text"}, {}});
    EXPECT_EQ(std::vector<std::string>{"setDeviceAttribute(20, 7, PowerDistribution)"}, store.calls());
}

TEST_F(DeviceTessConnectorTest, LoadBeforeAnyStoreAsksForTheSeatOfThePath) {
    EXPECT_EQ(Value{Uuid::NIL}, loaded(equipment));
    store.addDevice(2, second, 1);
    EXPECT_EQ(Value{second}, loaded(equipment));
    EXPECT_EQ((std::vector<std::string>{"uuidOf(2)", "uuidOf(2)"}), store.calls());
}

TEST_F(DeviceTessConnectorTest, LoadOfAPathWithoutSeatGivesNilWithoutAskingTheStore) {
    EXPECT_EQ(Value{Uuid::NIL}, loaded(inputs));
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(DeviceTessConnectorTest, ReportsItsDeviceOnceItIsMade) {
    EXPECT_TRUE(connector.getResourcesInUse().resources().empty());
    loaded(distribution);
    EXPECT_TRUE(connector.getResourcesInUse().resources().empty());
    connector.store({distribution, first, {}});
    EXPECT_EQ((TessResources::Map{{20, {}}}), connector.getResourcesInUse().resources());
}

TEST_F(DeviceTessConnectorTest, ReportsNoDeviceThatTheStoreDidNotMake) {
    DeviceTessConnector orphan{store, second};
    orphan.store({inputs, first, {}});
    EXPECT_TRUE(orphan.getResourcesInUse().resources().empty());
}

TEST_F(DeviceTessConnectorTest, TheOtherOperationsDoNothing) {
    connector.init();
    connector.subscribe({distribution, {}, {}}, nullptr, {true, true});
    connector.unsubscribe({distribution, {}, {}}, nullptr);
    connector.terminate();
    EXPECT_TRUE(store.calls().empty());
}

} // namespace
} // namespace velk::powerdistribution::connectors
