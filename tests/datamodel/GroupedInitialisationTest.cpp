#include "ManagerFixture.h"
#include "powerdistribution/connectors/IGroupingFactory.h"

#include <functional>
#include <stdexcept>
#include <utility>

namespace velk::powerdistribution::datamodel {
namespace {

/// Writes into a log where a group begins and ends.
class GroupingFactory final : public testing::FakeConnectorFactory, public connectors::IGroupingFactory {
public:
    explicit GroupingFactory(std::shared_ptr<testing::CallLog> handlerLog) : order{std::move(handlerLog)} {}

    void inGroups(const std::function<void()>& work) const override {
        order->add("begin");
        work();
        order->add("end");
        if (!failure.empty()) {
            throw std::runtime_error{failure};
        }
    }

    std::string failure; ///< of the store at the end; empty for none

private:
    const std::shared_ptr<testing::CallLog> order;
};

class GroupedInitialisationTest : public testing::ManagerFixture {
protected:
    bool build() { return manager.build(device, grouping, treeOf({mode})); }

    const EPath mode{EStatus::Mode};
    GroupingFactory grouping{log};
};

TEST_F(GroupedInitialisationTest, ATreeIsBuiltInAGroup) {
    const auto builder = treeOf({mode});
    const auto noting = [&](const EPath& path, const common::Uuid& uuid, const Factories& factories) {
        log->add("build");
        return builder(path, uuid, factories);
    };
    EXPECT_TRUE(manager.build(device, grouping, noting));
    EXPECT_EQ(log->calls(), (Calls{"begin", "build", "end"}));
}

TEST_F(GroupedInitialisationTest, AWriteThatTheStoreRefusesFailsTheBuildWhichIsGroupedAgain) {
    grouping.failure = "the store is full";
    const std::string errors = errorsOf([&] { EXPECT_FALSE(build()); });
    EXPECT_EQ(errors, "Failed to build data model: the store is full\n");
    grouping.failure.clear();
    manager.clear();
    log->clear();
    EXPECT_TRUE(build());
    EXPECT_EQ(log->calls(), (Calls{"begin", "end"}));
}

TEST_F(GroupedInitialisationTest, TheFirstInitialisationStoresInGroups) {
    ASSERT_TRUE(build());
    log->clear();
    EXPECT_TRUE(manager.initialize());
    EXPECT_EQ(log->calls(), (Calls{"begin", "initialize PowerEquipment", "refresh PowerEquipment",
                                   "initialize Status.Mode", "refresh Status.Mode", "end"}));
}

TEST_F(GroupedInitialisationTest, AfterARecoveryTheWorkersStoreTooAndNothingWaits) {
    ASSERT_TRUE(build());
    ASSERT_TRUE(manager.initialize());
    log->clear();
    EXPECT_TRUE(manager.initialize());
    EXPECT_EQ(log->calls(), (Calls{"initialize PowerEquipment", "refresh PowerEquipment",
                                   "initialize Status.Mode", "refresh Status.Mode"}));
}

TEST_F(GroupedInitialisationTest, ATreeForAnotherDeviceIsGroupedAgain) {
    ASSERT_TRUE(build());
    ASSERT_TRUE(manager.initialize());
    manager.clear();
    ASSERT_TRUE(build());
    log->clear();
    EXPECT_TRUE(manager.initialize());
    EXPECT_EQ(log->calls().front(), "begin");
    EXPECT_EQ(log->calls().back(), "end");
}

TEST_F(GroupedInitialisationTest, AValueThatTheStoreRefusesFailsTheInitialisationWhichIsGroupedAgain) {
    ASSERT_TRUE(build());
    grouping.failure = "the store is full";
    const std::string errors = errorsOf([&] { EXPECT_FALSE(manager.initialize()); });
    EXPECT_EQ(errors, "Failed to initialize data model: the store is full\n");
    grouping.failure.clear();
    log->clear();
    EXPECT_TRUE(manager.initialize());
    EXPECT_EQ(log->calls().front(), "begin");
}

TEST_F(GroupedInitialisationTest, AHandlerThatFailsEndsTheGroup) {
    ASSERT_TRUE(build());
    at(mode).throwOn("refresh", "no answer");
    const std::string errors = errorsOf([&] { EXPECT_FALSE(manager.initialize()); });
    EXPECT_EQ(errors, "Failed to initialize data model: no answer\n");
}

} // namespace
} // namespace velk::powerdistribution::datamodel
