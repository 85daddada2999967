#include "HandlerFixture.h"
#include "powerdistribution/handlers/BackupSystemHandler.h"
#include "powerdistribution/handlers/CommunicationStatusHandler.h"
#include "powerdistribution/handlers/ConnectivityHandler.h"
#include "powerdistribution/handlers/HealthStateHandler.h"
#include "powerdistribution/handlers/PowerBankHandler.h"
#include "powerdistribution/handlers/PowerModuleHandler.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakePoint;
using Calls = std::vector<std::string>;

const EPath bank{ECircuit::PowerBank};
const EPath status = bank + EStatus::OperatingStatus;

class PowerBankTest : public testing::HandlerFixture {
protected:
    /// A bank whose link is good and that has all data points of the decision.
    void serveBank() {
        device.add(bank + EStatus::Supply, Value{false});
        device.add(bank + EStatus::BmsFailure, Value{0u});
        device.add(bank + EStatus::TestStatus, Value{0u});
        device.add(bank + ECommunicationStatus::State, Value{2u});
        device.add(bank + EStatus::StoragePresent, Value{1u});
    }

    void set(const EPath::Node& node, const Value& value) { device.point(bank + node).setValue(value); }

    Value decided() {
        if (tree == nullptr) {
            tree = make<PowerBankHandler>(bank);
        }
        handler(status)->refresh();
        Value last;
        for (const auto& connector : store.connectors("status(PowerBank)")) {
            if (Value value = connector->lastStored(status); value.hasValue()) {
                last = value;
            }
        }
        return last;
    }

    std::shared_ptr<PowerBankHandler> tree;
};

TEST_F(PowerBankTest, MakesItsPartsInOrder) {
    device.add(bank + ESetting::NominalVoltage);
    const auto made = make<PowerBankHandler>(bank);
    EXPECT_EQ(
        store.builds(),
        (Calls{"buildConnector(root)", "buildStatusConnector(PowerBank)", "buildAlarmConnector(PowerBank)",
               "buildAttributeConnector(PowerBank)", "buildSpecificationConnector(PowerBank)",
               "buildStatusConnector(PowerBank)", "buildMeasureConnector(PowerBank)",
               "buildSettingConnector(PowerBank)", "buildActionConnector(PowerBank)",
               "buildStatusConnector(PowerBank)", "buildCommunicationStatusConnector(PowerBank)",
               "buildCommunicationStatusConnector(PowerBank)", "buildSettingConnector(PowerBank)"}));
    EXPECT_EQ(sortedPaths(),
              (Calls{"PowerBank", "PowerBank", "PowerBank.Chargers", "PowerBank.CommunicationStatus.State",
                     "PowerBank.Setting.NominalVoltage", "PowerBank.Setting.NominalVoltage",
                     "PowerBank.Status.OperatingStatus", "PowerBank.StorageModules"}))
        << "the settings twice, each on a connector of its own";
    const Calls asked = device.asked();
    EXPECT_EQ(Calls(asked.end() - 2, asked.end()),
              (Calls{"PowerBank.Chargers.Attribute.Count", "PowerBank.StorageModules.Attribute.Count"}));
}

TEST_F(PowerBankTest, AsksForTheDataPointsOfItsStatusInOrder) {
    make<PowerBankHandler>(bank);
    const Calls asked = device.asked();
    const auto first = asked.begin() + 18 + 50 + 102 + 37 + 45 + 8;
    EXPECT_EQ(Calls(first, first + 6),
              (Calls{"PowerBank.Status.Supply", "PowerBank.Status.BmsFailure", "PowerBank.Status.TestStatus",
                     "PowerBank.CommunicationStatus.State", "CommunicationStatus.State",
                     "PowerBank.Status.StoragePresent"}));
}

TEST_F(PowerBankTest, ChargersAndStorageModulesAreCircuitsThatCountFromOne) {
    for (const ECircuit kind : {ECircuit::Chargers, ECircuit::StorageModules}) {
        device.add(bank + kind + EAttribute::Count, Value{1u});
        store.calls().clear();
        make<PowerBankHandler>(bank);
        EXPECT_EQ(only(store.builds(), "buildConnector"),
                  (Calls{"buildConnector(root)", "buildConnector(PowerBank)",
                         "buildConnector(" + (bank + kind).nodesToString() + ")"}));
        EXPECT_EQ(model.all().count(bank + kind + 1u), 2U) << "the item and its health";
        EXPECT_EQ(model.all().count(bank + kind + 1u + ECircuit::Phases), 1U);
        EXPECT_EQ(model.all().count(bank + kind + 2u), 0U);
        device.remove(bank + kind + EAttribute::Count);
    }
}

TEST_F(PowerBankTest, StoppedWhenNothingElseHolds) {
    serveBank();
    EXPECT_EQ(decided(), Value{5u});
    EXPECT_EQ(decided(), Value{5u});
    EXPECT_EQ(only(store.calls().calls(), "OperatingStatus=5").size(), 1U) << "stored once";
}

TEST_F(PowerBankTest, NoStorageModeIsNotPresentWhateverTheLink) {
    serveBank();
    set(EStatus::StoragePresent, Value{3u});
    set(ECommunicationStatus::State, Value{3u});
    EXPECT_EQ(decided(), Value{1u});
    set(EStatus::StoragePresent, Value{3});
    EXPECT_EQ(decided(), Value{0u}) << "another alternative is no value";
}

TEST_F(PowerBankTest, UnknownWithoutAGoodLink) {
    serveBank();
    set(ECommunicationStatus::State, Value{4u});
    set(EStatus::Supply, Value{true});
    EXPECT_EQ(decided(), Value{0u});
}

TEST_F(PowerBankTest, TheLinkOfTheDeviceCountsWhereTheBankHasNone) {
    serveBank();
    device.remove(bank + ECommunicationStatus::State);
    device.add({ECommunicationStatus::State}, Value{2u});
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerBankTest, InServiceWhenSupplying) {
    serveBank();
    set(EStatus::Supply, Value{true});
    set(EStatus::TestStatus, Value{1u});
    EXPECT_EQ(decided(), Value{16u}) << "also under test";
}

TEST_F(PowerBankTest, InServiceWhenTheFailureStatusReadsThree) {
    serveBank();
    set(EStatus::BmsFailure, Value{3u});
    set(EStatus::TestStatus, Value{1u});
    EXPECT_EQ(decided(), Value{16u}) << "also under test";
}

TEST_F(PowerBankTest, UnderTestWhileATestIsInProgress) {
    serveBank();
    set(EStatus::TestStatus, Value{1u});
    EXPECT_EQ(decided(), Value{14u});
    set(EStatus::TestStatus, Value{2u});
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerBankTest, ATestStatusOfAnotherAlternativeIsNoValue) {
    serveBank();
    set(EStatus::TestStatus, Value{1});
    EXPECT_EQ(decided(), Value{5u});
}

TEST_F(PowerBankTest, ASupplyingBankIsNotAskedForItsFailureStatus) {
    serveBank();
    set(EStatus::Supply, Value{true});
    EXPECT_EQ(decided(), Value{16u});
    EXPECT_EQ(device.point(bank + EStatus::BmsFailure).reads(), 0U);
}

TEST_F(PowerBankTest, EmptyValuesDecideInSilence) {
    serveBank();
    for (const EStatus point :
         {EStatus::Supply, EStatus::BmsFailure, EStatus::TestStatus, EStatus::StoragePresent}) {
        set(point, {});
    }
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(decided(), Value{5u});
    set(ECommunicationStatus::State, {});
    EXPECT_EQ(decided(), Value{0u});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(PowerBankTest, ABankWithAGoodLinkAndNothingElseIsStoppedAndSaysWhatIsMissing) {
    device.add(bank + ECommunicationStatus::State, Value{2u});
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(decided(), Value{5u});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "FATAL ERROR - while accessing one status: exception No wrapper defined\n"
              "FATAL ERROR - while accessing the onBatteryState status: exception No wrapper defined for "
              "onBatteryState\n");
}

TEST_F(PowerBankTest, ABankThatServesNothingIsUnknownAndSaysWhy) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(decided(), Value{0u});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "FATAL ERROR - while accessing the CommunicationState status: exception No wrapper defined for "
              "CommunicationState\n");
}

TEST_F(PowerBankTest, AFailureStatusOfAnotherAlternativePrintsAMessageOnEachDecision) {
    serveBank();
    set(EStatus::BmsFailure, Value{true});
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(decided(), Value{5u});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "FATAL ERROR - while accessing the onBatteryState status: exception Unexpected index\n");
}

TEST_F(PowerBankTest, ThePowerModulesHaveASynchroniserBelowThem) {
    const auto modules = make<PowerModuleHandler>({ECircuit::PowerModules});
    EXPECT_EQ(sortedPaths(),
              (Calls{"PowerModules", "PowerModules.Synchroniser", "PowerModules.Synchroniser"}));
    EXPECT_EQ(only(store.builds(), "buildConnector"),
              (Calls{"buildConnector(root)", "buildConnector(PowerModules)"}));
    const Uuid own{parent, "PowerModules"};
    EXPECT_EQ(
        store.connector("device(PowerModules)")->lastStored({ECircuit::PowerModules, ECircuit::Synchroniser}),
        Value(Uuid(own, "PowerModules.Synchroniser")));
}

TEST_F(PowerBankTest, TheBackupSystemHasThePowerBankBelowIt) {
    make<BackupSystemHandler>({ECircuit::BackupSystem});
    EXPECT_EQ(model.all().count({ECircuit::BackupSystem, ECircuit::PowerBank}), 3U)
        << "the bank, its health and its communication status";
    EXPECT_EQ(only(store.builds(), "buildConnector"),
              (Calls{"buildConnector(root)", "buildConnector(BackupSystem)"}));
}

TEST_F(PowerBankTest, HandlersOfOnePathStandInTheOrderOfTheirMaking) {
    make<BackupSystemHandler>({ECircuit::BackupSystem});
    const auto bankEntries = model.all().equal_range({ECircuit::BackupSystem, ECircuit::PowerBank});
    auto entry = bankEntries.first;
    ASSERT_EQ(std::distance(entry, bankEntries.second), 3);
    EXPECT_NE(dynamic_cast<HealthStateHandler*>(entry++->second.get()), nullptr);
    EXPECT_NE(dynamic_cast<CommunicationStatusHandler*>(entry++->second.get()), nullptr);
    EXPECT_NE(dynamic_cast<PowerBankHandler*>(entry++->second.get()), nullptr);
}

TEST_F(PowerBankTest, PrivateActionsOfTheConnectivityGoToTheSystemWithTheirInitialValue) {
    const EPath action{ECircuit::Connectivity, EPrivateAction::SetMacAddress};
    FakePoint& point = device.add(action);
    store.onBuild([&](const std::string& name, testing::FakeConnector& made) {
        if (name == "system") {
            made.setLoad(action, Value{std::string{"00:11:22:33:44:55"}});
        }
    });
    const auto connectivity = make<ConnectivityHandler>({ECircuit::Connectivity});
    EXPECT_EQ(store.builds().back(), "buildSystemConnector()");
    EXPECT_EQ(only(store.calls().calls(), "system."),
              Calls{"system.subscribe Connectivity.PrivateAction.SetMacAddress every=0 initial=1"});
    EXPECT_EQ(point.written(), std::vector<Value>{Value{std::string{"00:11:22:33:44:55"}}});
    store.connector("system")->notify(action, Value{std::string{"00:11:22:33:44:55"}});
    EXPECT_EQ(point.writes(), 1U) << "the same value is not sent twice";
}

} // namespace
} // namespace velk::powerdistribution::handlers
