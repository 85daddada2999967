#include "kit/TreeWalk.h"

#include "powerdistribution/handlers/PowerDistributionHandler.h"
#include "tests/handlers/HandlerFixture.h"

#include <set>

namespace velk::kit {
namespace {

using namespace powerdistribution;

const EPath device1{EProperty::Identification, EAttribute::Uuid};
const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
const EPath avr{ECircuit::PowerConverters, EPowerConverter::Avr};

class TreeWalkTest : public velk::testing::HandlerFixture {
protected:
    void count(const EPath& collection, std::uint32_t items) {
        device.add(collection + EAttribute::Count, Value{items});
    }

    void serveADeviceWithEverything() {
        device.add(device1, Value{std::string{"11111111-2222-3333-4444-555555555555"}});
        count({ECircuit::Inputs}, 2);
        count({ECircuit::Inputs, 2U, ECircuit::Phases}, 3);
        count({ECircuit::Outputs}, 1);
        count({ECircuit::Branches}, 1);
        count({ECircuit::Outlets}, 4);
        count(bank + ECircuit::Chargers, 1);
        count(bank + ECircuit::StorageModules, 2);
        count(avr + ECircuit::Branches, 1);
        for (const EPath& node : {EPath{ECircuit::PowerModules}, EPath{ECircuit::PowerConverters}, avr,
                                  EPath{ECircuit::Environment}}) {
            device.add(node);
        }
        device.add({ECircuit::Outlets, 4U, EStatus::SwitchedOn}, Value{true});
    }

    std::set<std::string> asked() const {
        const auto paths = device.asked();
        return {paths.begin(), paths.end()};
    }

    TreeWalk walk{[this](const EPath& path) { return device.buildWrapper(path); },
                  [](const EPath&, const protocols::IValueWrapper& wrapper) {
                      const Value value = wrapper.read();
                      const auto* number = value.getIf<std::uint32_t>();
                      return number == nullptr ? std::nullopt : std::optional{*number};
                  }};
};

/// What the library answers itself, before it would ask a plug-in.
bool isOfTheLibrary(const std::string& path) {
    return path.rfind("PowerDistribution.", 0) == 0 || path.rfind("PowerEquipment.", 0) == 0;
}

TEST_F(TreeWalkTest, AsksForAllThatTheLibraryAsksForWhenItBuildsItsTree) {
    serveADeviceWithEverything();
    const handlers::PowerDistributionHandler tree{{}, parent, factories};
    const std::set<std::string> ofTheLibrary = asked();
    ASSERT_GT(ofTheLibrary.size(), 5000U);
    device.forgetAsked();
    walk.run();
    const std::set<std::string> ofTheWalk = asked();
    for (const std::string& path : ofTheLibrary) {
        EXPECT_TRUE(ofTheWalk.count(path) != 0 || isOfTheLibrary(path)) << path;
    }
    for (const EPath& path : walk.served) {
        const bool isForAlarms = path == EPath{EPrivate::AlarmConfigurationFile};
        EXPECT_TRUE(isForAlarms || ofTheLibrary.count(path.nodesToString()) != 0) << path;
    }
}

TEST_F(TreeWalkTest, FindsItemsThatAreCountedAndNotThere) {
    count({ECircuit::Outlets}, 3);
    device.add({ECircuit::Outlets, 2U, EStatus::SwitchedOn});
    walk.run();
    ASSERT_EQ(walk.collections.size(), 1U);
    EXPECT_EQ(walk.collections.front().empty, (std::vector<std::uint32_t>{1, 3}));
    EXPECT_TRUE(walk.collections.front().beyond.empty());
}

TEST_F(TreeWalkTest, FindsTheItemBehindTheLast) {
    count({ECircuit::Outlets}, 1);
    device.add({ECircuit::Outlets, 1U, EStatus::SwitchedOn});
    device.add({ECircuit::Outlets, 2U, EAction::SwitchOff});
    walk.run();
    ASSERT_EQ(walk.collections.size(), 1U);
    EXPECT_EQ(walk.collections.front().beyond.nodesToString(), "Outlets.2.Action.SwitchOff");
}

TEST_F(TreeWalkTest, FindsItemsThatNobodyCounts) {
    device.add({ECircuit::Inputs, 1U, EMeasurement::Voltage});
    walk.run();
    ASSERT_EQ(walk.collections.size(), 1U);
    EXPECT_FALSE(walk.collections.front().hasCount);
    EXPECT_EQ(walk.collections.front().beyond.nodesToString(), "Inputs.1.Measure.Voltage");
}

TEST_F(TreeWalkTest, LooksAtTheFirstItemOfACountThatNobodyMeans) {
    count({ECircuit::Outlets}, TreeWalk::MOST_ITEMS + 1);
    device.add({ECircuit::Outlets, 2U, EStatus::SwitchedOn});
    walk.run();
    ASSERT_EQ(walk.collections.size(), 1U);
    EXPECT_EQ(walk.collections.front().count, TreeWalk::MOST_ITEMS + 1);
    EXPECT_EQ(walk.collections.front().empty, std::vector<std::uint32_t>{1});
    EXPECT_TRUE(walk.collections.front().beyond.empty());
}

TEST_F(TreeWalkTest, FindsWhatLiesBelowANodeThatTheLibraryPassesOver) {
    device.add({ECircuit::Environment, EMeasurement::Temperature});
    device.add({ECircuit::PowerConverters});
    device.add(avr + EStatus::Supply);
    walk.run();
    ASSERT_EQ(walk.hidden.size(), 2U);
    EXPECT_EQ(walk.hidden[0].node.nodesToString(), avr.nodesToString());
    EXPECT_EQ(walk.hidden[0].below.nodesToString(), (avr + EStatus::Supply).nodesToString());
    EXPECT_EQ(walk.hidden[1].below.nodesToString(), "Environment.Measure.Temperature");
    EXPECT_TRUE(walk.served.empty());
}

TEST_F(TreeWalkTest, FindsAConverterWithoutItsContainer) {
    device.add(avr);
    walk.run();
    ASSERT_EQ(walk.hidden.size(), 1U);
    EXPECT_EQ(walk.hidden[0].node.nodesToString(), "PowerConverters");
    EXPECT_EQ(walk.hidden[0].below.nodesToString(), avr.nodesToString());
}

} // namespace
} // namespace velk::kit
