#include "HandlerFixture.h"
#include "powerdistribution/handlers/PowerConvertersHandler.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using testing::FakePoint;
using Calls = std::vector<std::string>;

const EPath converters{ECircuit::PowerConverters};
const EPath inverter = converters + EPowerConverter::Inverter;
const EPath status = inverter + EStatus::OperatingStatus;

class PowerConverterTest : public testing::HandlerFixture {
protected:
    /// A device with an inverter whose link is good and that has all data points of the decision.
    void serveInverter() {
        device.add(inverter);
        device.add(inverter + ECommunicationStatus::State, Value{2u});
        device.add(inverter + EStatus::Supply, Value{false});
        device.add(inverter + EStatus::Supplied, Value{false});
        device.add(inverter + ESpecification::Type, Value{1u});
        device.add(inverter + EStatus::SwitchedOn, Value{false});
        device.add(inverter + EStatus::Present, Value{true});
    }

    void set(const EPath::Node& node, const Value& value) { device.point(inverter + node).setValue(value); }

    /// What has been decided last; empty for nothing.
    Value decided() {
        if (tree == nullptr) {
            tree = make<PowerConvertersHandler>(converters);
        }
        handler(status)->refresh();
        Value last;
        for (const auto& connector : store.connectors("status(PowerConverters.Inverter)")) {
            if (Value value = connector->lastStored(status); value.hasValue()) {
                last = value;
            }
        }
        return last;
    }

    std::shared_ptr<PowerConvertersHandler> tree;
};

TEST_F(PowerConverterTest, ConvertersAreTriedAlongThePowerPathAndTheMissingOnesSkipped) {
    device.add(converters + EPowerConverter::TransferSwitch);
    device.add(converters + EPowerConverter::DcBus);
    const auto made = make<PowerConvertersHandler>(converters);
    EXPECT_EQ(only(store.builds(), "buildConnector"),
              (Calls{"buildConnector(root)", "buildConnector(PowerConverters)",
                     "buildConnector(PowerConverters)"}));
    const Calls asked = device.asked();
    Calls kinds;
    std::copy_if(asked.begin(), asked.end(), std::back_inserter(kinds), [](const std::string& path) {
        return path.starts_with("PowerConverters.") && std::count(path.begin(), path.end(), '.') == 1;
    });
    EXPECT_EQ(kinds, (Calls{"PowerConverters.Rectifier", "PowerConverters.DcBus", "PowerConverters.Inverter",
                            "PowerConverters.AutomaticBypass", "PowerConverters.MaintenanceBypass",
                            "PowerConverters.Avr", "PowerConverters.TransferSwitch"}));
}

TEST_F(PowerConverterTest, TheGroupOfConvertersIsADeviceThatStaysInUse) {
    const auto made = make<PowerConvertersHandler>(converters);
    EXPECT_EQ(store.connector("device(root)")->lastStored(converters),
              Value(Uuid(parent, "PowerConverters")));
    EXPECT_TRUE(model.all().empty());
}

TEST_F(PowerConverterTest, AConverterIsACircuitWithAComputedStatusAndBranches) {
    device.add(inverter);
    make<PowerConvertersHandler>(converters);
    EXPECT_EQ(sortedPaths(), (Calls{"PowerConverters.Inverter", "PowerConverters.Inverter",
                                    "PowerConverters.Inverter.Branches", "PowerConverters.Inverter.Phases",
                                    "PowerConverters.Inverter.Status.OperatingStatus"}));
    const Calls asked = device.asked();
    const auto phases =
        std::find(asked.begin(), asked.end(), "PowerConverters.Inverter.Phases.Attribute.Count");
    ASSERT_GE(asked.end() - phases, 9);
    EXPECT_EQ(Calls(phases, phases + 9),
              (Calls{"PowerConverters.Inverter.Phases.Attribute.Count",
                     "PowerConverters.Inverter.CommunicationStatus.State", "CommunicationStatus.State",
                     "PowerConverters.Inverter.Status.Supply", "PowerConverters.Inverter.Status.Supplied",
                     "PowerConverters.Inverter.Specification.Type",
                     "PowerConverters.Inverter.Status.SwitchedOn", "PowerConverters.Inverter.Status.Present",
                     "PowerConverters.Inverter.Branches.Attribute.Count"}));
}

TEST_F(PowerConverterTest, TheBranchesOfAConverterAreCircuitsThatCountFromOne) {
    device.add(inverter);
    device.add(inverter + ECircuit::Branches + EAttribute::Count, Value{2u});
    make<PowerConvertersHandler>(converters);
    const EPath branches = inverter + ECircuit::Branches;
    for (const std::uint32_t index : {1U, 2U}) {
        EXPECT_EQ(model.all().count(branches + index), 2U) << "the item and its health";
        EXPECT_EQ(model.all().count(branches + index + ECircuit::Phases), 1U);
    }
    EXPECT_EQ(only(store.builds(), "buildConnector(PowerConverters.Inverter)").size(), 1U);
    EXPECT_EQ(only(store.builds(), "buildConnector(PowerConverters.Inverter.Branches)").size(), 2U);
}

TEST_F(PowerConverterTest, StoppedWhenNothingElseHolds) {
    serveInverter();
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerConverterTest, TheSameDecisionTwiceIsStoredOnce) {
    serveInverter();
    decided();
    decided();
    EXPECT_EQ(only(store.calls().calls(), "OperatingStatus=5").size(), 1U);
}

TEST_F(PowerConverterTest, NothingIsDecidedWhileADataPointThatExistsGivesNoValue) {
    for (const EPath::Node& node :
         {EPath::Node{EStatus::Supply}, EPath::Node{EStatus::Supplied}, EPath::Node{ESpecification::Type},
          EPath::Node{EStatus::SwitchedOn}, EPath::Node{EStatus::Present}}) {
        serveInverter();
        set(node, {});
        tree.reset();
        model = {};
        EXPECT_EQ(decided(), Value{}) << node.tostring();
        set(node, Value{std::string{"x"}});
        EXPECT_EQ(decided(), Value{}) << node.tostring() << " of another alternative";
    }
}

TEST_F(PowerConverterTest, ALostLinkDoesNotDecideWhileAValueIsMissing) {
    serveInverter();
    set(ECommunicationStatus::State, Value{3u});
    set(EStatus::Supply, {});
    EXPECT_EQ(decided(), Value{});
}

TEST_F(PowerConverterTest, UnknownWithoutAGoodLink) {
    serveInverter();
    set(ECommunicationStatus::State, Value{3u});
    set(EStatus::Supply, Value{true});
    EXPECT_EQ(decided(), Value{0u});
}

TEST_F(PowerConverterTest, UnknownWithoutAGoodLinkAlsoWhenItIsNotThere) {
    serveInverter();
    set(ECommunicationStatus::State, Value{3u});
    set(EStatus::Present, Value{false});
    set(ESpecification::Type, Value{4u});
    EXPECT_EQ(decided(), Value{0u});
}

TEST_F(PowerConverterTest, AConverterWithoutAnyLinkIsUnknownAndSaysWhy) {
    device.add(inverter);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(decided(), Value{0u});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "FATAL ERROR - while accessing the CommunicationState status: exception No wrapper defined for "
              "CommunicationState\n");
}

TEST_F(PowerConverterTest, TheLinkOfTheDeviceCountsWhereTheConverterHasNone) {
    serveInverter();
    device.remove(inverter + ECommunicationStatus::State);
    FakePoint& link = device.add({ECommunicationStatus::State}, Value{2u});
    EXPECT_EQ(decided(), Value{5u});
    link.setValue(Value{3u});
    EXPECT_EQ(decided(), Value{0u});
}

TEST_F(PowerConverterTest, TheConvertersOwnLinkCountsBeforeThatOfTheDevice) {
    serveInverter();
    device.add({ECommunicationStatus::State}, Value{3u});
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerConverterTest, NotPresentOnlyForTypeFour) {
    serveInverter();
    set(EStatus::Present, Value{false});
    set(EStatus::Supply, Value{true});
    EXPECT_EQ(decided(), Value{16u});
    set(ESpecification::Type, Value{4u});
    EXPECT_EQ(decided(), Value{1u}) << "before the supply is looked at";
}

TEST_F(PowerConverterTest, SuppliedButNotSupplyingOnlyForTypeTwo) {
    serveInverter();
    set(EStatus::Supplied, Value{true});
    EXPECT_EQ(decided(), Value{5u});
    set(ESpecification::Type, Value{2u});
    EXPECT_EQ(decided(), Value{7u});
    set(EStatus::Supply, Value{true});
    EXPECT_EQ(decided(), Value{16u});
}

TEST_F(PowerConverterTest, InServiceWhenSwitchedOnOnlyForTypeFour) {
    serveInverter();
    set(EStatus::SwitchedOn, Value{true});
    EXPECT_EQ(decided(), Value{5u});
    set(ESpecification::Type, Value{4u});
    EXPECT_EQ(decided(), Value{16u});
    set(EStatus::SwitchedOn, Value{false});
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerConverterTest, DataPointsThatDoNotExistDoNotPreventADecision) {
    device.add(inverter);
    device.add({ECommunicationStatus::State}, Value{2u});
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerConverterTest, ADataPointThatDoesNotExistHoldsNoRule) {
    serveInverter();
    set(ESpecification::Type, Value{4u});
    set(EStatus::SwitchedOn, Value{true});
    device.remove(inverter + EStatus::Present);
    EXPECT_EQ(decided(), Value{5u}) << "neither absent nor in service";
    device.add(inverter + EStatus::Present, Value{true});
    device.remove(inverter + EStatus::SwitchedOn);
    tree.reset();
    model = {};
    EXPECT_EQ(decided(), Value{5u}) << "not known to be switched on";
    set(ESpecification::Type, Value{2u});
    device.remove(inverter + EStatus::Supplied);
    tree.reset();
    model = {};
    EXPECT_EQ(decided(), Value{5u}) << "not known to be supplied";
}

TEST_F(PowerConverterTest, AnAbsentConverterOfUnknownTypeIsStopped) {
    serveInverter();
    set(EStatus::Present, Value{false});
    device.remove(inverter + ESpecification::Type);
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerConverterTest, StatusThatTheStoreDidNotTakeIsOfferedAgain) {
    serveInverter();
    store.onBuild([](const std::string& name, FakeConnector& made) {
        if (name == "status(PowerConverters.Inverter)") {
            made.throwOn("store", "store is gone");
        }
    });
    EXPECT_THROW(decided(), std::runtime_error);
    EXPECT_THROW(decided(), std::runtime_error);
    for (const auto& connector : store.connectors("status(PowerConverters.Inverter)")) {
        connector->throwOn("store", "");
    }
    decided();
    decided();
    EXPECT_EQ(only(store.calls().calls(), "OperatingStatus=5").size(), 3U);
}

TEST_F(PowerConverterTest, WithoutTheSupplyDataPointNothingIsSuppliedOnly) {
    serveInverter();
    device.remove(inverter + EStatus::Supply);
    set(EStatus::Supplied, Value{true});
    set(ESpecification::Type, Value{2u});
    EXPECT_EQ(decided(), Value{5u});
}

} // namespace
} // namespace velk::powerdistribution::handlers
