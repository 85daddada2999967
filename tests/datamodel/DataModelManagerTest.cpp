#include "ManagerFixture.h"
#include "powerdistribution/datamodel/powerEquipmentBuilder.h"

namespace velk::powerdistribution::datamodel {
namespace {

class DataModelManagerTest : public testing::ManagerFixture {};

const EPath mode{EStatus::Mode};
const EPath model{EAttribute::Model};
const EPath state{ECommunicationStatus::State};
const EPath bankState{ECircuit::PowerBank, ECommunicationStatus::State};

TEST_F(DataModelManagerTest, BuildsFromTheEmptyPathAndTheStoresRoot) {
    EPath given{EStatus::Mode};
    velk::common::Uuid uuid;
    EXPECT_TRUE(build([&](const EPath& path, const velk::common::Uuid& root, const Factories& factories) {
        given = path;
        uuid = root;
        EXPECT_EQ(&factories.wrapperFactory, &device);
        EXPECT_EQ(&factories.connectorFactory, &store);
        return make({ECircuit::PowerEquipment});
    }));
    EXPECT_TRUE(given.empty());
    EXPECT_EQ(uuid, testing::FakeConnectorFactory::rootUuid());
    EXPECT_EQ(manager.handlers().others().size(), 1U) << "the root is entered after its tree";
}

TEST_F(DataModelManagerTest, ABuilderThatGivesNothingIsNoFailure) {
    EXPECT_TRUE(build([](const EPath&, const velk::common::Uuid&, const Factories&) { return nullptr; }));
    EXPECT_TRUE(manager.handlers().all().empty());
}

TEST_F(DataModelManagerTest, AnEmptyBuilderIsAFailure) {
    const std::string errors = errorsOf([&] { EXPECT_FALSE(build(DataModelManager::Builder{})); });
    EXPECT_EQ(errors, "Failed to build data model: bad_function_call\n");
}

TEST_F(DataModelManagerTest, AStoreThatDoesNotTellItsRootFailsTheBuild) {
    /// A store that is not there.
    class GoneStore : public testing::FakeConnectorFactory {
        Uuid getRootParentUuid() const override { throw std::runtime_error{"store is gone"}; }
    };
    const std::string errors =
        errorsOf([&] { EXPECT_FALSE(manager.build(device, GoneStore{}, treeOf({mode}))); });
    EXPECT_EQ(errors, "Failed to build data model: store is gone\n");
    EXPECT_TRUE(manager.handlers().all().empty());
}

TEST_F(DataModelManagerTest, AFailedBuildKeepsWhatWasEntered) {
    const std::string errors = errorsOf([&] {
        EXPECT_FALSE(build([&](const EPath&, const velk::common::Uuid&,
                               const Factories& factories) -> DataModelManager::HandlerPtr {
            factories.dataModel->emplace(make(mode));
            throw std::runtime_error{"no memory"};
        }));
    });
    EXPECT_EQ(errors, "Failed to build data model: no memory\n");
    EXPECT_EQ(manager.handlers().all().size(), 1U);
}

TEST_F(DataModelManagerTest, WhatIsNoStandardExceptionPasses) {
    EXPECT_THROW(build([](const EPath&, const velk::common::Uuid&,
                          const Factories&) -> DataModelManager::HandlerPtr { throw 7; }),
                 int);
}

TEST_F(DataModelManagerTest, WhatIsNoStandardExceptionPassesOutOfInitialize) {
    /// Fails with something that is no standard exception.
    class OddHandler : public handlers::BaseHandler {
    public:
        OddHandler(const EPath& path, std::string operation) :
            BaseHandler{path}, failing{std::move(operation)} {}
        void initialize() override { failOn("initialize"); }
        void refresh() override { failOn("refresh"); }

    private:
        void failOn(const std::string& operation) const {
            if (operation == failing) {
                throw 7;
            }
        }
        const std::string failing;
    };

    for (const char* operation : {"initialize", "refresh"}) {
        DataModelManager odd{quick(), clock};
        ASSERT_TRUE(
            odd.build(device, store, [&](const EPath& path, const velk::common::Uuid&, const Factories&) {
                return std::make_shared<OddHandler>(path, operation);
            }));
        EXPECT_EQ(errorsOf([&] { EXPECT_THROW(odd.initialize(), int) << operation; }), "");
        EXPECT_THROW(odd.start(), std::runtime_error) << "the scheduler stays empty";
    }
}

TEST_F(DataModelManagerTest, BuildsTheRealTree) {
    EXPECT_TRUE(build(powerEquipmentBuilder));
    EXPECT_EQ(manager.handlers().all().count({ECircuit::PowerEquipment}), 1U);
    EXPECT_EQ(manager.handlers().all().count(state), 1U);
    EXPECT_TRUE(manager.initialize());
}

TEST_F(DataModelManagerTest, InitializesAndRefreshesInTheOrderOfThePaths) {
    build({mode, state});
    EXPECT_TRUE(manager.initialize());
    EXPECT_EQ(log->calls(),
              (Calls{"initialize CommunicationStatus.State", "refresh CommunicationStatus.State",
                     "initialize PowerEquipment", "refresh PowerEquipment", "initialize Status.Mode",
                     "refresh Status.Mode"}));
}

TEST_F(DataModelManagerTest, TheFirstFailureEndsInitializeAndTheSchedulerStaysEmpty) {
    build({state, mode, model});
    at(mode).throwOn("refresh", "no answer");
    const std::string errors = errorsOf([&] { EXPECT_FALSE(manager.initialize()); });
    EXPECT_EQ(errors, "Failed to initialize data model: no answer\n");
    EXPECT_EQ(log->count("refresh CommunicationStatus.State"), 1U);
    EXPECT_EQ(log->count("initialize Attribute.Model"), 0U) << "it stands behind the failing one";
    EXPECT_THROW(manager.start(), std::runtime_error);
}

TEST_F(DataModelManagerTest, AHandlerThatFailsToInitializeIsNotRefreshed) {
    build({mode});
    at(mode).throwOn("initialize", "store is gone");
    const std::string errors = errorsOf([&] { EXPECT_FALSE(manager.initialize()); });
    EXPECT_EQ(errors, "Failed to initialize data model: store is gone\n");
    EXPECT_EQ(log->count("refresh Status.Mode"), 0U);
}

TEST_F(DataModelManagerTest, TheServiceStateIsThatOfTheLastBuild) {
    build({mode});
    at({ECircuit::PowerEquipment}).throwOn("refresh", "of the former tree");
    manager.clear();
    build({mode});
    EXPECT_NO_THROW(manager.updateServiceState());
}

TEST_F(DataModelManagerTest, ASecondInitializeRunsOverTheHandlersAgainWhileTheSchedulerRunsOn) {
    build({mode});
    ASSERT_TRUE(manager.initialize());
    manager.start();
    await("refresh Status.Mode", 3);
    EXPECT_TRUE(manager.initialize());
    EXPECT_EQ(log->count("initialize Status.Mode"), 2U);
    manager.start(); // returns at once
    await("refresh Status.Mode", log->count("refresh Status.Mode") + 2);
    manager.stop();
}

TEST_F(DataModelManagerTest, TerminateDiscardsTheSchedulerAndTerminatesInTheOrderOfThePaths) {
    build({mode, state});
    manager.initialize();
    log->clear();
    manager.terminate();
    EXPECT_EQ(log->calls(), (Calls{"terminate CommunicationStatus.State", "terminate PowerEquipment",
                                   "terminate Status.Mode"}));
    EXPECT_THROW(manager.start(), std::runtime_error);
}

TEST_F(DataModelManagerTest, AFailureToTerminateIsToldAndPassedOver) {
    build({bankState, mode});
    at(bankState).throwOn("terminate", "store is gone");
    const std::string errors = errorsOf([&] { manager.terminate(); });
    EXPECT_EQ(errors, "Failed to terminate path=PowerBank.CommunicationStatus.State, error: store is gone\n");
    EXPECT_EQ(log->count("terminate Status.Mode"), 1U);
}

TEST_F(DataModelManagerTest, ClearTerminatesAndEmptiesTheIndexOfAllAlone) {
    build({mode});
    manager.clear();
    EXPECT_EQ(log->count("terminate Status.Mode"), 1U);
    EXPECT_TRUE(manager.handlers().all().empty());
    EXPECT_EQ(manager.handlers().group<EStatus>().size(), 1U);
    EXPECT_EQ(manager.handlers().others().size(), 1U);
}

TEST_F(DataModelManagerTest, AfterARebuildTheOldCommunicationStatesAreStillVisited) {
    build({state});
    manager.clear();
    build({state});
    log->clear();
    manager.updateCommunicationState();
    EXPECT_EQ(log->count("refresh CommunicationStatus.State"), 2U);
}

TEST_F(DataModelManagerTest, AfterARebuildTheSchedulerStillPollsTheOldHandlers) {
    build({mode});
    manager.clear();
    build({model});
    manager.initialize();
    manager.start();
    await("refresh Status.Mode", 2);
    manager.stop();
}

TEST_F(DataModelManagerTest, UpdateServiceStateRefreshesTheRootAlone) {
    manager.updateServiceState();
    EXPECT_TRUE(log->calls().empty()) << "nothing before the first build";
    build({mode});
    manager.updateServiceState();
    EXPECT_EQ(log->calls(), Calls{"refresh PowerEquipment"});
}

TEST_F(DataModelManagerTest, UpdateCommunicationStateRefreshesItsGroupInTheOrderOfThePaths) {
    build({bankState, mode, state});
    manager.updateCommunicationState();
    EXPECT_EQ(log->calls(),
              (Calls{"refresh CommunicationStatus.State", "refresh PowerBank.CommunicationStatus.State"}));
}

TEST_F(DataModelManagerTest, AFailureToUpdateIsToldAndPassedOver) {
    build({bankState, state});
    at(state).throwOn("refresh", "no answer");
    const std::string errors = errorsOf([&] { manager.updateCommunicationState(); });
    EXPECT_EQ(errors, "Failed to update path=CommunicationStatus.State, error: no answer\n");
    EXPECT_EQ(log->count("refresh PowerBank.CommunicationStatus.State"), 1U);
}

TEST_F(DataModelManagerTest, TheDestructorStopsTheSchedulerAndTerminatesNothing) {
    std::weak_ptr<testing::RecordingHandler> status;
    {
        DataModelManager other{quick(), clock};
        other.build(device, store, treeOf({mode}));
        status = made.at("Status.Mode");
        other.initialize();
        other.start();
        await("refresh Status.Mode", 3);
    }
    EXPECT_TRUE(status.expired());
    EXPECT_EQ(log->count("terminate Status.Mode"), 0U);
}

TEST_F(DataModelManagerTest, WithoutConfigurationItTakesTheDefaults) {
    DataModelManager plain;
    EXPECT_TRUE(plain.build(device, store, treeOf({})));
    EXPECT_TRUE(plain.initialize());
}

} // namespace
} // namespace velk::powerdistribution::datamodel
