#include "HandlerFixture.h"
#include "powerdistribution/handlers/CircuitHandler.h"
#include "powerdistribution/handlers/CollectionHandler.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using Calls = std::vector<std::string>;
using Circuits = CollectionHandler<CircuitHandler>;

const EPath inputs{ECircuit::Inputs};
const EPath count{ECircuit::Inputs, EAttribute::Count};

/// What building the generic part of the device `node` below `above` asks of the connector factory.
Calls genericBuilds(const std::string& node, const std::string& above) {
    return {"buildConnector(" + above + ")",
            "buildStatusConnector(" + node + ")",
            "buildAlarmConnector(" + node + ")",
            "buildAttributeConnector(" + node + ")",
            "buildSpecificationConnector(" + node + ")",
            "buildStatusConnector(" + node + ")",
            "buildMeasureConnector(" + node + ")",
            "buildSettingConnector(" + node + ")",
            "buildActionConnector(" + node + ")"};
}

class CircuitTest : public testing::HandlerFixture {};

TEST_F(CircuitTest, AGenericNodeIsADeviceNamedByItsPathBelowItsParent) {
    const auto node = make<GenericHandler>({ECircuit::Environment});
    const auto connector = store.connector("device(root)");
    EXPECT_EQ(connector->lastStored({ECircuit::Environment}), Value(Uuid(parent, "Environment")));
    EXPECT_EQ(store.builds(), genericBuilds("Environment", "root"));
    EXPECT_EQ(store.calls().calls()[1],
              "device(root).store Environment=" + Uuid(parent, "Environment").toString());
}

TEST_F(CircuitTest, AGenericNodeKeepsItsDeviceInUse) {
    auto node = make<GenericHandler>({ECircuit::Environment});
    EXPECT_EQ(store.connectors("device(root)").size(), 1U);
    node.reset();
    EXPECT_EQ(store.connectors("device(root)").size(), 0U);
}

TEST_F(CircuitTest, AGenericNodeEntersItsHealthAndItsDataPointsInOrder) {
    const EPath node{ECircuit::Environment};
    device.add(node + EAction::StartTest);
    device.add(node + ESetting::Temperature);
    device.add(node + EMeasurement::Phase);
    device.add(node + EStatus::Mode);
    device.add(node + ESpecification::Type);
    device.add(node + EAttribute::Model);
    device.forgetAsked();
    make<GenericHandler>(node);
    EXPECT_EQ(sortedPaths(),
              (Calls{"Environment", "Environment.Action.StartTest", "Environment.Attribute.Model",
                     "Environment.Measure.Phase", "Environment.Setting.Temperature",
                     "Environment.Specification.Type", "Environment.Status.Mode"}));
    const Calls asked = device.asked();
    ASSERT_EQ(asked.size(), 18U + 50U + 102U + 37U + 45U + 8U);
    EXPECT_EQ(asked[0], "Environment.Attribute.Count");
    EXPECT_EQ(asked[18 + 50], "Environment.Status.BmsFailure");
    EXPECT_EQ(asked[18 + 50 + 102 + 37], "Environment.Setting.AudibleAlarmControl");
    EXPECT_EQ(asked.back(), "Environment.Action.SwitchOn");
}

TEST_F(CircuitTest, EachDataPointOfAGenericNodeGoesToTheConnectorOfItsKind) {
    const EPath node{ECircuit::Environment};
    const std::vector<EPath> points{node + EAttribute::Model,     node + ESpecification::Type,
                                    node + EStatus::Mode,         node + EMeasurement::Phase,
                                    node + ESetting::Temperature, node + EAction::StartTest};
    for (const EPath& point : points) {
        device.add(point);
    }
    const auto made = make<GenericHandler>(node);
    for (const EPath& point : points) {
        handler(point)->initialize();
    }
    EXPECT_EQ(only(store.calls().calls(), "load"),
              (Calls{"attribute(Environment).load Environment.Attribute.Model",
                     "specification(Environment).load Environment.Specification.Type",
                     "status(Environment).load Environment.Status.Mode",
                     "measure(Environment).load Environment.Measure.Phase",
                     "setting(Environment).load Environment.Setting.Temperature",
                     "action(Environment).load Environment.Action.StartTest"}));
}

TEST_F(CircuitTest, ADeviceThatServesNothingGivesANodeWithItsHealthOnly) {
    make<GenericHandler>({ECircuit::Environment});
    EXPECT_EQ(sortedPaths(), Calls{"Environment"});
}

TEST_F(CircuitTest, ACollectionWithoutCountHasNoConnectorNoDeviceAndNoItem) {
    make<Circuits>(inputs);
    EXPECT_TRUE(store.calls().calls().empty());
    EXPECT_TRUE(model.all().empty());
    EXPECT_EQ(device.asked(), Calls{"Inputs.Attribute.Count"});
}

TEST_F(CircuitTest, ACollectionWithAnUnreadCountIsADeviceWithoutItems) {
    device.add(count);
    make<Circuits>(inputs);
    EXPECT_EQ(store.calls().calls(), (Calls{"buildConnector(root)", "device(root).init",
                                            "device(root).store Inputs=" + Uuid(parent, "Inputs").toString(),
                                            "device(root).destroyed"}));
    EXPECT_TRUE(model.all().empty());
}

TEST_F(CircuitTest, ACountOfAnotherAlternativeIsNoCount) {
    device.add(count, Value{3});
    const auto collection = make<Circuits>(inputs);
    EXPECT_EQ(store.connectors("device(root)").size(), 1U) << "the device is there all the same";
    EXPECT_TRUE(model.all().empty());
}

TEST_F(CircuitTest, ACountOfThreeMakesItemsOneTwoAndThree) {
    device.add(count, Value{3u});
    make<Circuits>(inputs);
    EXPECT_EQ(sortedPaths(), (Calls{"Inputs.1", "Inputs.1", "Inputs.1.Phases", "Inputs.2", "Inputs.2",
                                    "Inputs.2.Phases", "Inputs.3", "Inputs.3", "Inputs.3.Phases"}))
        << "each item with its health, which has the path of its device";
}

TEST_F(CircuitTest, ItemsCountFromTheGivenIndex) {
    device.add(count, Value{2u});
    const CollectionHandler<GenericHandler> collection{inputs, parent, factories, 5};
    EXPECT_EQ(sortedPaths(), (Calls{"Inputs.5", "Inputs.5", "Inputs.6", "Inputs.6"}));
}

TEST_F(CircuitTest, TheUuidsOfItemsDeriveFromTheirCollection) {
    device.add(count, Value{2u});
    const auto collection = make<Circuits>(inputs);
    const Uuid own{parent, "Inputs"};
    const auto items = store.connectors("device(Inputs)");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0]->lastStored({ECircuit::Inputs, 1u}), Value(Uuid(own, "Inputs.1")));
    EXPECT_EQ(items[1]->lastStored({ECircuit::Inputs, 2u}), Value(Uuid(own, "Inputs.2")));
}

TEST_F(CircuitTest, TheCountIsReadOnceAndGetsNoHandler) {
    testing::FakePoint& point = device.add(count, Value{1u});
    make<Circuits>(inputs);
    EXPECT_EQ(point.reads(), 1U);
    EXPECT_EQ(model.all().count(count), 0U);
}

TEST_F(CircuitTest, ACircuitAlwaysHasPhasesAndWithoutCountTheyAreEmpty) {
    make<CircuitHandler>(inputs);
    EXPECT_EQ(sortedPaths(), (Calls{"Inputs", "Inputs.Phases"}));
    EXPECT_EQ(store.builds(), genericBuilds("Inputs", "root"));
    EXPECT_EQ(device.asked().back(), "Inputs.Phases.Attribute.Count");
}

TEST_F(CircuitTest, PhasesAreDevicesBelowTheirCircuit) {
    device.add({ECircuit::Inputs, ECircuit::Phases, EAttribute::Count}, Value{1u});
    const auto circuit = make<CircuitHandler>(inputs);
    Calls expected = genericBuilds("Inputs", "root");
    expected.push_back("buildConnector(Inputs)");
    for (const std::string& build : genericBuilds("Inputs.Phases.1", "Inputs.Phases")) {
        expected.push_back(build);
    }
    EXPECT_EQ(store.builds(), expected);
    EXPECT_EQ(sortedPaths(), (Calls{"Inputs", "Inputs.Phases", "Inputs.Phases.1", "Inputs.Phases.1"}));
    const Uuid phases{Uuid{parent, "Inputs"}, "Inputs.Phases"};
    EXPECT_EQ(
        store.connectors("device(Inputs.Phases)")[0]->lastStored({ECircuit::Inputs, ECircuit::Phases, 1u}),
        Value(Uuid(phases, "Inputs.Phases.1")));
}

TEST_F(CircuitTest, AFailureOfAConnectorPasses) {
    store.onBuild([](const std::string&, FakeConnector& made) { made.throwOn("store", "store is full"); });
    EXPECT_THROW(make<GenericHandler>(inputs), std::runtime_error);
}

} // namespace
} // namespace velk::powerdistribution::handlers
