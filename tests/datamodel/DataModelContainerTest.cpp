#include "powerdistribution/datamodel/DataModelContainer.h"

#include "RecordingHandler.h"
#include "powerdistribution/datamodel/updateHandler.h"
#include "powerdistribution/handlers/Factories.h"
#include "testing/FakeConnectorFactory.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

namespace velk::powerdistribution::datamodel {
namespace {

using testing::RecordingHandler;
using Paths = std::vector<std::string>;

class DataModelContainerTest : public ::testing::Test {
protected:
    std::shared_ptr<RecordingHandler> enter(const EPath& path) {
        auto handler = std::make_shared<RecordingHandler>(path, log);
        model.emplace(handler);
        return handler;
    }

    static Paths pathsOf(const DataModelContainer::Map& map) {
        Paths texts;
        for (const auto& [path, handler] : map) {
            EXPECT_EQ(path.nodesToString(), handler->epath().nodesToString());
            texts.push_back(path.nodesToString());
        }
        return texts;
    }

    std::shared_ptr<testing::CallLog> log = std::make_shared<testing::CallLog>();
    DataModelContainer model;
};

TEST_F(DataModelContainerTest, AHandlerIsFoundInAllAndInTheGroupOfItsLastNode) {
    const EPath inputs{ECircuit::Inputs};
    enter(inputs + EStatus::Mode);
    enter(inputs + ECommunicationStatus::State);
    enter(inputs + EMeasurement::Phase);
    enter(inputs + ESetting::Temperature);
    enter(inputs + ESpecification::Type);
    enter(inputs + EAttribute::Model);
    enter(inputs + EPrivate::InternalLogs);
    EXPECT_EQ(pathsOf(model.group<EStatus>()), Paths{"Inputs.Status.Mode"});
    EXPECT_EQ(pathsOf(model.group<ECommunicationStatus>()), Paths{"Inputs.CommunicationStatus.State"});
    EXPECT_EQ(pathsOf(model.group<EMeasurement>()), Paths{"Inputs.Measure.Phase"});
    EXPECT_EQ(pathsOf(model.group<ESetting>()), Paths{"Inputs.Setting.Temperature"});
    EXPECT_EQ(pathsOf(model.group<ESpecification>()), Paths{"Inputs.Specification.Type"});
    EXPECT_EQ(pathsOf(model.group<EAttribute>()), Paths{"Inputs.Attribute.Model"});
    EXPECT_EQ(pathsOf(model.group<EPrivate>()), Paths{"Inputs.Private.InternalLogs"});
    EXPECT_EQ(model.all().size(), 7U);
    EXPECT_TRUE(model.others().empty());
    EXPECT_EQ(model.size(), 7U);
}

TEST_F(DataModelContainerTest, EveryOtherLastNodeGoesToTheOthers) {
    enter({ECircuit::Inputs});
    enter({ECircuit::Inputs, 1u});
    enter({velk::common::TRange<unsigned int>{1, 2}});
    enter({velk::common::TAny{}});
    enter({EProperty::Identification});
    enter({EPowerConverter::Avr});
    enter({EAction::StartTest});
    enter({EPrivateAction::SetDate});
    EXPECT_EQ(model.others().size(), 8U);
    EXPECT_EQ(model.all().size(), 8U);
}

TEST_F(DataModelContainerTest, AnEmptyPathIsFoundInAllAndInNoGroup) {
    enter({});
    EXPECT_EQ(pathsOf(model.all()), Paths{"Null"});
    EXPECT_EQ(model.size(), 0U);
}

TEST_F(DataModelContainerTest, AnEmptyHandleIsPassedOver) {
    model.emplace(nullptr);
    EXPECT_TRUE(model.all().empty());
}

TEST_F(DataModelContainerTest, EqualPathsStayInTheOrderOfTheirComing) {
    const auto first = enter({EStatus::Mode});
    const auto second = enter({EStatus::Mode});
    const auto range = model.all().equal_range({EStatus::Mode});
    EXPECT_EQ(range.first->second, first);
    EXPECT_EQ(std::next(range.first)->second, second);
    EXPECT_EQ(model.group<EStatus>().size(), 2U);
}

TEST_F(DataModelContainerTest, HandlersAreWalkedInTheOrderOfTheirPaths) {
    enter({EStatus::Mode});
    enter({ECircuit::Inputs, 2u});
    enter({ECircuit::Inputs});
    enter({ECircuit::Inputs, 1u});
    EXPECT_EQ(pathsOf(model.all()), (Paths{"Inputs", "Inputs.1", "Inputs.2", "Status.Mode"}));
}

TEST_F(DataModelContainerTest, ClearAllLeavesTheGroupsAndTheOthers) {
    const std::weak_ptr<RecordingHandler> status = enter({EStatus::Mode});
    const std::weak_ptr<RecordingHandler> circuit = enter({ECircuit::Inputs});
    const std::weak_ptr<RecordingHandler> root = enter({});
    model.clearAll();
    EXPECT_TRUE(model.all().empty());
    EXPECT_FALSE(status.expired());
    EXPECT_FALSE(circuit.expired());
    EXPECT_TRUE(root.expired());
}

TEST_F(DataModelContainerTest, MakesAHandlerAndEntersItAfterWhatItsConstructorEntered) {
    class Parent : public handlers::BaseHandler {
    public:
        Parent(const EPath& path, const velk::common::Uuid&, const Factories& factories) : BaseHandler{path} {
            factories.dataModel->emplace(std::make_shared<BaseHandler>(path));
        }
    };
    testing::FakeWrapperFactory device;
    testing::FakeConnectorFactory store;
    model.emplace<Parent>({ECircuit::Inputs}, velk::common::Uuid{}, Factories{device, store, &model});
    ASSERT_EQ(model.all().size(), 2U);
    EXPECT_EQ(dynamic_cast<Parent*>(model.all().begin()->second.get()), nullptr);
    EXPECT_NE(dynamic_cast<Parent*>(std::next(model.all().begin())->second.get()), nullptr);
}

TEST_F(DataModelContainerTest, UpdateHandlerRefreshesAndDoesNothingElse) {
    updateHandler(enter({EStatus::Mode}));
    EXPECT_EQ(log->calls(), Paths{"refresh Status.Mode"});
}

TEST_F(DataModelContainerTest, UpdateHandlerPassesOverAnEmptyHandleAndBearsTheBaseHandler) {
    updateHandler(nullptr);
    updateHandler(std::make_shared<handlers::BaseHandler>(EPath{EStatus::Mode}));
    EXPECT_TRUE(log->calls().empty());
}

TEST_F(DataModelContainerTest, PrintStatsPrintsNothing) {
    ::testing::internal::CaptureStdout();
    printStats();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

} // namespace
} // namespace velk::powerdistribution::datamodel
