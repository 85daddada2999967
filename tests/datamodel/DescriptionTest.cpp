#include "ManagerFixture.h"
#include "powerdistribution/handlers/ComStateHandler.h"
#include "powerdistribution/handlers/ComputedStatusHandler.h"
#include "powerdistribution/handlers/HealthStateHandler.h"
#include "powerdistribution/handlers/PowerEquipmentHandler.h"
#include "powerdistribution/handlers/RWValueHandler.h"
#include "powerdistribution/handlers/WOValueHandler.h"
#include "powerdistribution/handlers/publishedPoints.h"
#include "testing/FakeConnector.h"

#include <gtest/gtest.h>

#include <memory>

namespace velk::testing {
namespace {

using namespace velk::powerdistribution;
using handlers::publishedPoints;

/// A status that is always the same.
class FixedStatus final : public handlers::ComputedStatusHandler {
public:
    using ComputedStatusHandler::ComputedStatusHandler;
    std::optional<std::uint32_t> decide() const override { return 16; }
};

class DescriptionTest : public ManagerFixture {
protected:
    /// Builds a tree of one reading with its point.
    void buildReading(const EPath& path) {
        point = std::make_shared<FakePoint>(Value{230.0F});
        ASSERT_TRUE(build([&](const EPath&, const velk::common::Uuid&, const Factories& factories) {
            reading = std::make_shared<handlers::ROValueHandler>(
                path, FakeWrapper::on(point), factories.connectorFactory.buildMeasureConnector({}));
            factories.dataModel->emplace(reading);
            return make({ECircuit::PowerEquipment});
        }));
    }

    PointDescription describe(const std::string& name) { return manager.describe(name, origins); }

    static std::vector<std::string> namesOf(const handlers::IHandler& handler) {
        std::vector<std::string> names;
        for (const auto& published : publishedPoints(handler)) {
            names.push_back(published.name + " " + published.kind);
        }
        return names;
    }

    const EPath voltage{ECircuit::Inputs, 1U, EMeasurement::Voltage};
    protocols::PointOrigins origins;
    std::shared_ptr<FakePoint> point;
    std::shared_ptr<handlers::ROValueHandler> reading;
};

TEST_F(DescriptionTest, WithoutAModelNothingIsKnown) {
    const PointDescription description = describe("Inputs.1.Measure.Voltage");
    EXPECT_FALSE(description.modelBuilt);
    EXPECT_TRUE(description.publishers.empty());
    EXPECT_EQ(description.modelFailure, "");
}

TEST_F(DescriptionTest, DataPointOfTheModelIsFoundByTheNameThatPeopleUse) {
    buildReading(voltage);
    ASSERT_TRUE(manager.initialize());
    clock.advance(std::chrono::seconds{2});
    const PointDescription description = describe("Inputs.1.Measure.Voltage");
    EXPECT_TRUE(description.modelBuilt);
    ASSERT_EQ(description.publishers.size(), 1U);
    EXPECT_EQ(description.publishers[0].kind, "reading");
    EXPECT_EQ(description.publishers[0].rank, 4U);
    EXPECT_EQ(description.publishers[0].sinceRead, std::chrono::seconds{2});
    EXPECT_TRUE(describe("Inputs.2.Measure.Voltage").publishers.empty());
    EXPECT_TRUE(describe("").publishers.empty());
}

TEST_F(DescriptionTest, PollsAreCountedWhileTheSchedulerRuns) {
    buildReading(voltage);
    ASSERT_TRUE(manager.initialize());
    manager.start();
    while (describe("Inputs.1.Measure.Voltage").publishers[0].reads < 2) {
        std::this_thread::yield();
    }
    manager.stop();
    EXPECT_TRUE(describe("Inputs.1.Measure.Voltage").publishers[0].period.has_value());
}

TEST_F(DescriptionTest, PollThatGaveNoValueIsTold) {
    buildReading(voltage);
    ASSERT_TRUE(manager.initialize());
    EXPECT_FALSE(describe("Inputs.1.Measure.Voltage").publishers[0].gaveNothing);
    point->setValue({});
    reading->refresh();
    EXPECT_TRUE(describe("Inputs.1.Measure.Voltage").publishers[0].gaveNothing);
    point->setValue(Value{1.0F});
    reading->refresh();
    EXPECT_FALSE(describe("Inputs.1.Measure.Voltage").publishers[0].gaveNothing);
}

TEST_F(DescriptionTest, ModelThatCannotBeInitialisedSaysWhyAndIsStillDescribed) {
    buildReading(voltage);
    point->throwOnRead("wrong type");
    errorsOf([&] { EXPECT_FALSE(manager.initialize()); });
    EXPECT_EQ(describe("").modelFailure, "wrong type");
    EXPECT_TRUE(describe("").modelBuilt);
    EXPECT_EQ(describe("Inputs.1.Measure.Voltage").publishers.size(), 1U);
    point->throwOnRead("");
    ASSERT_TRUE(manager.initialize());
    EXPECT_EQ(describe("").modelFailure, "");
}

TEST_F(DescriptionTest, ModelThatCannotBeBuiltSaysWhyAndHasNothingToDescribe) {
    errorsOf([&] {
        EXPECT_FALSE(build([](const EPath&, const velk::common::Uuid&, const Factories&)
                               -> DataModelManager::HandlerPtr { throw std::runtime_error{"no Uuid"}; }));
    });
    EXPECT_EQ(describe("").modelFailure, "no Uuid");
    EXPECT_FALSE(describe("").modelBuilt);
}

TEST_F(DescriptionTest, ClearedModelIsForgotten) {
    buildReading(voltage);
    ASSERT_TRUE(manager.initialize());
    manager.clear();
    EXPECT_FALSE(describe("Inputs.1.Measure.Voltage").modelBuilt);
    EXPECT_TRUE(describe("Inputs.1.Measure.Voltage").publishers.empty());
}

TEST_F(DescriptionTest, AfterARebuildOnlyTheNewHandlerIsDescribed) {
    buildReading(voltage);
    ASSERT_TRUE(manager.initialize());
    manager.clear();
    buildReading(voltage);
    ASSERT_TRUE(manager.initialize());
    EXPECT_EQ(describe("Inputs.1.Measure.Voltage").publishers.size(), 1U);
}

TEST_F(DescriptionTest, OriginComesFromThePluginThatServesThePath) {
    const auto behind = std::make_shared<FakeWrapperFactory>();
    behind->add(voltage, Value{230.0F});
    origins.set(std::make_shared<protocols::ProxyWrapperFactory>(behind), "/lib/plug.so");
    buildReading(voltage);
    const PointDescription description = describe("Inputs.1.Measure.Voltage");
    ASSERT_EQ(description.publishers.size(), 1U);
    EXPECT_EQ(description.publishers[0].plugin, "/lib/plug.so");
    EXPECT_EQ(description.publishers[0].rule, "");
}

TEST_F(DescriptionTest, HandlersPublishUnderTheNamesThatTheStoreHas) {
    datamodel::DataModelContainer container;
    const Factories factories{device, store, &container};
    const auto connector = store.buildSettingConnector({});
    const EPath setting{ECircuit::Outlets, 2U, ESetting::AutomaticSwitchOnDelay};
    const EPath action{ECircuit::Outlets, 2U, EAction::SwitchOn};
    const EPath model{EProperty::Identification, EAttribute::Model};
    const EPath device20{ECircuit::PowerDistribution};
    using Names = std::vector<std::string>;
    EXPECT_EQ(namesOf(handlers::ROValueHandler{model, FakeWrapper::of({}), connector}),
              Names{"Attribute.Model reading"});
    EXPECT_EQ(namesOf(handlers::ROValueHandler{device20 + EStatus::OperatingStatus, FakeWrapper::of({}),
                                               connector}),
              Names{"Status.OperatingStatus reading"});
    EXPECT_EQ(namesOf(handlers::RWValueHandler{setting, FakeWrapper::of({}), connector, false}),
              Names{"Outlets.2.Setting.AutomaticSwitchOnDelay setting"});
    EXPECT_EQ(namesOf(handlers::WOValueHandler{action, FakeWrapper::of({}), connector, true, false}),
              Names{"Outlets.2.Action.SwitchOn action"});
    EXPECT_EQ(namesOf(FixedStatus{{ECircuit::PowerConverters, EPowerConverter::Inverter}, {}, factories}),
              Names{"PowerConverters.Inverter.Status.OperatingStatus computed"});
    EXPECT_EQ(namesOf(handlers::HealthStateHandler{device20, {}, factories}),
              Names{"Status.HealthState health"});
    EXPECT_EQ(namesOf(handlers::ComStateHandler{{}, {}, factories}),
              (Names{"CommunicationStatus.State communication", "CommunicationStatus.Since communication"}));
    EXPECT_EQ(namesOf(*make({ECircuit::Inputs, 1U})), Names{});
}

} // namespace
} // namespace velk::testing
