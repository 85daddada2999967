#include "powerdistribution/protocols/ProxyWrapperFactory.h"

#include "powerdistribution/core/Paths.h"
#include "powerdistribution/protocols/ProxyRules.h"
#include "powerdistribution/protocols/ServiceStateWrapper.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakeWrapperFactory;
using Asked = std::vector<std::string>;

class ProxyWrapperFactoryTest : public ::testing::Test {
protected:
    /// What the proxy's wrapper reads, or the text "null".
    Value read(const EPath& path) {
        const auto wrapper = proxy.buildWrapper(path);
        return wrapper ? wrapper->read() : Value{std::string{"null"}};
    }
    void communicationIsGood() { device->add(com, Value{2u}); }

    const EPath com{ECommunicationStatus::State};
    const Value null{std::string{"null"}};
    const std::shared_ptr<FakeWrapperFactory> device = std::make_shared<FakeWrapperFactory>();
    const ProxyWrapperFactory proxy{device};
    const ProxyWrapperFactory alone;
};

TEST_F(ProxyWrapperFactoryTest, ServiceStateNeedsNoDevice) {
    const EPath path{ECircuit::PowerEquipment, EStatus::OperatingStatus};
    const auto wrapper = alone.buildWrapper(path);
    ASSERT_NE(dynamic_cast<ServiceStateWrapper*>(wrapper.get()), nullptr);
    ASSERT_NE(proxy.buildWrapper(path), nullptr);
    EXPECT_EQ(device->asked(), Asked{}) << "the protocol cannot override it";
}

TEST_F(ProxyWrapperFactoryTest, DistributionStatusGoesByTheMode) {
    communicationIsGood();
    device->add({EStatus::Mode}, Value{3u});
    EXPECT_EQ(read({ECircuit::PowerDistribution, EStatus::OperatingStatus}), Value{16u});
}

TEST_F(ProxyWrapperFactoryTest, InputStatusGoesBySupplied) {
    communicationIsGood();
    device->add({ECircuit::Inputs, 2u, EStatus::Supplied}, Value{true});
    EXPECT_EQ(read({ECircuit::Inputs, 2u, EStatus::OperatingStatus}), Value{16u});
}

TEST_F(ProxyWrapperFactoryTest, ThirdInputIsLeftToTheProtocol) {
    const EPath path{ECircuit::Inputs, 3u, EStatus::OperatingStatus};
    EXPECT_EQ(read(path), null);
    device->add(path, Value{7u});
    EXPECT_EQ(read(path), Value{7u});
}

TEST_F(ProxyWrapperFactoryTest, OutputsOutletsAndChargersGoBySupply) {
    communicationIsGood();
    for (const EPath& node : {EPath{ECircuit::Outputs, 128u}, EPath{ECircuit::Outlets, 1u},
                              EPath{ECircuit::BackupSystem, ECircuit::PowerBank, ECircuit::Chargers, 5u}}) {
        device->add(node + EStatus::Supply, Value{true});
        EXPECT_EQ(read(node + EStatus::OperatingStatus), Value{16u}) << node;
    }
}

TEST_F(ProxyWrapperFactoryTest, CollectionsEndAtOneHundredAndTwentyEight) {
    communicationIsGood();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(read({ECircuit::Outlets, 128u, EStatus::OperatingStatus}), Value{5u});
    EXPECT_EQ(read({ECircuit::Outlets, 129u, EStatus::OperatingStatus}), null);
    EXPECT_EQ(read({ECircuit::Outlets, 0u, EStatus::OperatingStatus}), null);
    ::testing::internal::GetCapturedStderr();
}

TEST_F(ProxyWrapperFactoryTest, StorageModuleGoesBySupplyOrMode) {
    communicationIsGood();
    const EPath module{ECircuit::BackupSystem, ECircuit::PowerBank, ECircuit::StorageModules, 1u};
    device->add(module + EStatus::Supply, Value{false});
    device->add({EStatus::Mode}, Value{true});
    EXPECT_EQ(read(module + EStatus::OperatingStatus), Value{16u});
    device->add({EStatus::Mode}, Value{false});
    EXPECT_EQ(read(module + EStatus::OperatingStatus), Value{5u});
}

TEST_F(ProxyWrapperFactoryTest, ProtocolCannotOverrideDerivedStatuses) {
    const EPath path{ECircuit::Outputs, 1u, EStatus::OperatingStatus};
    device->add(path, Value{99u});
    EXPECT_EQ(read(path), Value{0u});
    EXPECT_EQ(device->askedFor(path), 0u);
}

TEST_F(ProxyWrapperFactoryTest, DerivedStatusAsksItsSourcesThroughTheProxy) {
    communicationIsGood();
    device->add({ECircuit::Outputs, 1u, EStatus::Supply}, Value{true});
    EXPECT_EQ(read({ECircuit::Outputs, 1u, EStatus::OperatingStatus}), Value{16u});
    EXPECT_EQ(device->asked(), (Asked{"Outputs.1.Status.Supply", "CommunicationStatus.State"}));
}

TEST_F(ProxyWrapperFactoryTest, ProtocolWithoutCommunicationStateLeavesStatusesUnknown) {
    device->add({ECircuit::Outputs, 1u, EStatus::Supply}, Value{true});
    EXPECT_EQ(read(com), Value{4u});
    EXPECT_EQ(read({ECircuit::Outputs, 1u, EStatus::OperatingStatus}), Value{0u});
}

TEST_F(ProxyWrapperFactoryTest, CommunicationStateOfTheProtocolComesFirst) {
    communicationIsGood();
    EXPECT_EQ(read(com), Value{2u});
}

TEST_F(ProxyWrapperFactoryTest, CommunicationStateWithoutDeviceIsFour) {
    EXPECT_EQ(alone.buildWrapper(com)->read(), Value{4u});
}

TEST_F(ProxyWrapperFactoryTest, OtherPathsGoStraightToTheProtocol) {
    const EPath path{ECircuit::Inputs, 1u, EMeasurement::Voltage};
    device->add(path, Value{230.0f});
    EXPECT_EQ(read(path), Value{230.0f});
    EXPECT_EQ(device->asked(), Asked{"Inputs.1.Measure.Voltage"});
    EXPECT_EQ(alone.buildWrapper(path), nullptr);
}

TEST_F(ProxyWrapperFactoryTest, PhysicalNameBecomesAFriendlyNameThatCanBeWritten) {
    device->add({ECircuit::Outputs, 1u, EAttribute::PhysicalName}, Value{std::string{"X"}});
    const auto wrapper = proxy.buildWrapper({ECircuit::Outputs, 1u, EAttribute::FriendlyName});
    ASSERT_TRUE(wrapper);
    EXPECT_EQ(wrapper->read(), Value{std::string{"X"}});
    EXPECT_TRUE(wrapper->isWritable());
    EXPECT_TRUE(wrapper->write(Value{std::string{"Y"}}));
    EXPECT_EQ(wrapper->read(), Value{std::string{"Y"}});
}

TEST_F(ProxyWrapperFactoryTest, NoFriendlyNameWithoutAPhysicalOne) {
    const EPath friendly{ECircuit::Outputs, 1u, EAttribute::FriendlyName};
    const EPath physical{ECircuit::Outputs, 1u, EAttribute::PhysicalName};
    EXPECT_EQ(read(friendly), null);
    device->add(physical, Value{});
    EXPECT_EQ(read(friendly), null);
    device->add(physical, Value{5u});
    EXPECT_EQ(read(friendly), null);
}

TEST_F(ProxyWrapperFactoryTest, FriendlyNameOfTheProtocolComesFirst) {
    const EPath friendly{ECircuit::Outputs, 1u, EAttribute::FriendlyName};
    device->add(friendly, Value{std::string{"own"}});
    device->add({ECircuit::Outputs, 1u, EAttribute::PhysicalName}, Value{std::string{"X"}});
    EXPECT_EQ(read(friendly), Value{std::string{"own"}});
}

TEST_F(ProxyWrapperFactoryTest, PhysicalNameIsAskedOnlyForAFriendlyName) {
    device->add({ECircuit::Outputs, 1u, EAttribute::PhysicalName}, Value{std::string{"X"}});
    EXPECT_EQ(read({ECircuit::Outputs, 1u, EAttribute::Location}), null);
    EXPECT_EQ(device->asked(), Asked{"Outputs.1.Attribute.Location"});
}

TEST_F(ProxyWrapperFactoryTest, FriendlyNameAtTheEndMatchesAsAPatternToo) {
    device->add({ECircuit::Outputs, EAttribute::PhysicalName}, Value{std::string{"X"}});
    EXPECT_EQ(read({ECircuit::Outputs, anyIndex}), Value{std::string{"X"}});
}

TEST_F(ProxyWrapperFactoryTest, NoFriendlyNameWithoutDevice) {
    EXPECT_EQ(alone.buildWrapper({EAttribute::FriendlyName}), nullptr);
}

TEST_F(ProxyWrapperFactoryTest, EmptyPathIsAskedOfTheFactoryBehindOnly) {
    EXPECT_EQ(read({}), null);
    EXPECT_EQ(device->asked(), Asked{"Null"});
    device->add({}, Value{1u});
    EXPECT_EQ(read({}), Value{1u});
    EXPECT_EQ(alone.buildWrapper({}), nullptr);
}

TEST_F(ProxyWrapperFactoryTest, FailureOfTheFactoryBehindPasses) {
    device->throwOnBuild({EStatus::Mode}, "out of order");
    EXPECT_THROW(proxy.buildWrapper({EStatus::Mode}), std::runtime_error);
}

TEST_F(ProxyWrapperFactoryTest, ProtocolUuidIsThatOfTheFactoryBehind) {
    EXPECT_EQ(&proxy.protocolUuid(), &device->protocolUuid());
}

TEST_F(ProxyWrapperFactoryTest, WrappersOutliveTheirFactory) {
    auto passing = std::make_unique<ProxyWrapperFactory>(device);
    const auto wrapper = passing->buildWrapper(com);
    passing.reset();
    EXPECT_EQ(wrapper->read(), Value{4u});
}

TEST_F(ProxyWrapperFactoryTest, PathsMayBeAskedFromManyThreadsAtOnce) {
    communicationIsGood();
    device->add({ECircuit::Outputs, 7u, EStatus::Supply}, Value{true});
    std::vector<std::thread> threads;
    std::array<Value, 4> results;
    for (Value& result : results) {
        threads.emplace_back([this, &result] {
            for (int round = 0; round < 50; ++round) {
                result = read({ECircuit::Outputs, 7u, EStatus::OperatingStatus});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Value& result : results) {
        EXPECT_EQ(result, Value{16u});
    }
}

/// The paths of all leaves of a forest, in the order of trial.
void listLeaves(const std::vector<Rule>& rules, const EPath& above, Asked& leaves) {
    for (const Rule& rule : rules) {
        const EPath path = above + rule.node;
        if (!rule.buildFunctions.empty()) {
            EXPECT_EQ(rule.buildFunctions.size(), 1u);
            EXPECT_FALSE(rule.argument.has_value());
            leaves.push_back(path.nodesToString());
        }
        listLeaves(rule.children, path, leaves);
    }
}

TEST(ProxyRulesTest, TablesHoldTheseRulesInThisOrder) {
    Asked leaves;
    listLeaves(beforeRules(), {}, leaves);
    listLeaves(afterRules(), {}, leaves);
    EXPECT_EQ(leaves, (Asked{
                          "PowerEquipment.Status.OperatingStatus",
                          "PowerDistribution.Status.OperatingStatus",
                          "Inputs.[1,2].Status.OperatingStatus",
                          "Outputs.[1,128].Status.OperatingStatus",
                          "Outlets.[1,128].Status.OperatingStatus",
                          "BackupSystem.PowerBank.Chargers.[1,128].Status.OperatingStatus",
                          "BackupSystem.PowerBank.StorageModules.[1,128].Status.OperatingStatus",
                          "CommunicationStatus.State",
                      }));
    EXPECT_EQ(beforeRules().size(), 6u) << "one rule for the whole backup system";
}

} // namespace
