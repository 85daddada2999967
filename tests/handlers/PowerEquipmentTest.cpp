#include "HandlerFixture.h"
#include "powerdistribution/handlers/PowerDistributionHandler.h"
#include "powerdistribution/handlers/PowerEquipmentHandler.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using testing::FakePoint;
using velk::common::UnexpectedIndex;
using Calls = std::vector<std::string>;

const EPath equipment{ECircuit::PowerEquipment};
const EPath distribution{ECircuit::PowerDistribution};
const std::string deviceUuid{"11111111-2222-3333-4444-555555555555"};

class PowerEquipmentTest : public testing::HandlerFixture {
protected:
    void serveIdentity() { device.add({EProperty::Identification, EAttribute::Uuid}, Value{deviceUuid}); }

    void serveSmallDevice() {
        serveIdentity();
        device.add(equipment + EStatus::OperatingStatus, Value{3u});
        device.add(distribution + EStatus::OperatingStatus, Value{16u});
        device.add({ESpecification::Type});
        device.add({EStatus::Mode});
        device.add({ESetting::PreferredSource});
        device.add({EAction::StartTest});
        device.add({EPrivateAction::SetDate});
        device.add({ECommunicationStatus::State}, Value{2u});
        device.add({ECircuit::Inputs, EAttribute::Count}, Value{1u});
        device.add({ECircuit::Inputs, 1u, EMeasurement::Voltage}, Value{230.0f});
    }

    /// Expects the paths that only one step of the constructor asks for in the order of the steps.
    void expectLandmarks() const {
        const Calls wanted{"PowerDistribution.Status.OperatingStatus",
                           "Identification.Attribute.Count",
                           "Specification.Type",
                           "Status.Mode",
                           "Setting.PreferredSource",
                           "Action.StartTest",
                           "CommunicationStatus.Since",
                           "Inputs.Attribute.Count",
                           "Outputs.Attribute.Count",
                           "Branches.Attribute.Count",
                           "Outlets.Attribute.Count",
                           "PowerModules",
                           "PowerConverters",
                           "PrivateAction.SetDate",
                           "BackupSystem.Attribute.Count",
                           "Connectivity.Attribute.Count",
                           "Private.InternalLogs.Private.LogTopId",
                           "Environment"};
        Calls found;
        for (const std::string& path : device.asked()) {
            if (std::find(wanted.begin(), wanted.end(), path) != wanted.end()) {
                found.push_back(path);
            }
        }
        EXPECT_EQ(found, wanted);
    }
};

TEST_F(PowerEquipmentTest, TheEquipmentIsADeviceBelowTheRoot) {
    const auto root = make<PowerEquipmentHandler>({});
    const Uuid own{parent, "Power Distributions"};
    EXPECT_EQ(store.calls().calls()[0], "buildConnector(root)");
    EXPECT_EQ(store.calls().calls()[1], "device(root).store PowerEquipment=" + own.toString());
    EXPECT_EQ(store.calls().calls()[2], "buildStatusConnector(PowerEquipment)");
    EXPECT_EQ(store.calls().count("buildConnector(PowerEquipment)"), 1U) << "the power distribution";
    EXPECT_EQ(root->epath().nodesToString(), "PowerEquipment");
}

TEST_F(PowerEquipmentTest, RefreshOfTheRootReadsTheServiceStateOnly) {
    serveSmallDevice();
    const auto root = make<PowerEquipmentHandler>({});
    store.calls().clear();
    root->refresh();
    EXPECT_EQ(store.calls().calls(),
              Calls{"status(PowerEquipment).store PowerEquipment.Status.OperatingStatus=3"});
    EXPECT_EQ(device.point({ECommunicationStatus::State}).reads(), 0U);
}

TEST_F(PowerEquipmentTest, ARootWithoutServiceStateHasNothingToRefresh) {
    const auto root = make<PowerEquipmentHandler>({});
    store.calls().clear();
    root->refresh();
    EXPECT_TRUE(store.calls().calls().empty());
}

TEST_F(PowerEquipmentTest, TheTreeOfASmallDevice) {
    serveSmallDevice();
    model.emplace(make<PowerEquipmentHandler>({}));
    EXPECT_EQ(sortedPaths(), (Calls{"Action.StartTest",
                                    "BackupSystem",
                                    "BackupSystem",
                                    "BackupSystem.PowerBank",
                                    "BackupSystem.PowerBank",
                                    "BackupSystem.PowerBank",
                                    "BackupSystem.PowerBank.Chargers",
                                    "BackupSystem.PowerBank.CommunicationStatus.State",
                                    "BackupSystem.PowerBank.Status.OperatingStatus",
                                    "BackupSystem.PowerBank.StorageModules",
                                    "Branches",
                                    "CommunicationStatus.State",
                                    "Connectivity",
                                    "Connectivity",
                                    "Identification.Attribute.Uuid",
                                    "Inputs",
                                    "Inputs.1",
                                    "Inputs.1",
                                    "Inputs.1.Measure.Voltage",
                                    "Inputs.1.Phases",
                                    "Null",
                                    "Outlets",
                                    "Outputs",
                                    "PowerDistribution",
                                    "PowerDistribution",
                                    "PowerDistribution.Status.OperatingStatus",
                                    "PowerEquipment",
                                    "Private.InternalLogs",
                                    "PrivateAction.SetDate",
                                    "Setting.PreferredSource",
                                    "Specification.Type",
                                    "Status.Mode"}));
}

TEST_F(PowerEquipmentTest, TheStoreGetsATreeOfDevices) {
    serveSmallDevice();
    device.add({ECircuit::PowerModules});
    device.add({ECircuit::PowerConverters});
    device.add({ECircuit::Environment});
    make<PowerEquipmentHandler>({});
    EXPECT_EQ(
        only(store.builds(), "buildConnector"),
        (Calls{"buildConnector(root)", "buildConnector(PowerEquipment)", "buildConnector(PowerDistribution)",
               "buildConnector(Inputs)", "buildConnector(PowerDistribution)", "buildConnector(PowerModules)",
               "buildConnector(PowerDistribution)", "buildConnector(PowerDistribution)",
               "buildConnector(BackupSystem)", "buildConnector(PowerDistribution)",
               "buildConnector(PowerDistribution)"}));
}

TEST_F(PowerEquipmentTest, ThePowerDistributionMakesItsPartsInOrder) {
    serveSmallDevice();
    make<PowerDistributionHandler>({});
    expectLandmarks();
}

TEST_F(PowerEquipmentTest, ThePowerDistributionAsksForItsConnectorsInOrder) {
    serveIdentity();
    make<PowerDistributionHandler>({});
    const Calls builds = store.builds();
    ASSERT_GE(builds.size(), 13U);
    EXPECT_EQ(
        Calls(builds.begin(), builds.begin() + 13),
        (Calls{"buildConnector(root)", "buildStatusConnector(PowerDistribution)",
               "buildStatusConnector(PowerDistribution)", "buildAlarmConnector(PowerDistribution)",
               "buildAttributeConnector(PowerDistribution)", "buildSpecificationConnector(PowerDistribution)",
               "buildStatusConnector(PowerDistribution)", "buildSettingConnector(PowerDistribution)",
               "buildActionConnector(PowerDistribution)",
               "buildCommunicationStatusConnector(PowerDistribution)",
               "buildCommunicationStatusConnector(PowerDistribution)",
               "buildPrivateActionConnector(PowerDistribution)", "buildConnector(PowerDistribution)"}));
}

TEST_F(PowerEquipmentTest, EachDataPointOfTheDeviceGoesToTheConnectorOfItsKind) {
    serveSmallDevice();
    device.add({EMeasurement::Voltage}, Value{230.0f});
    const auto made = make<PowerDistributionHandler>({});
    EXPECT_EQ(model.all().count({EMeasurement::Voltage}), 0U) << "the device itself measures nothing";
    EXPECT_EQ(only(store.calls().calls(), "Action.").size(), 2U);
    EXPECT_EQ(store.calls().count("action(PowerDistribution).subscribe Action.StartTest every=1 initial=0"),
              1U);
    EXPECT_EQ(store.calls().count(
                  "privateAction(PowerDistribution).subscribe PrivateAction.SetDate every=1 initial=0"),
              1U);
    store.calls().clear();
    for (const EPath& path : {EPath{EProperty::Identification, EAttribute::Uuid}, EPath{ESpecification::Type},
                              EPath{EStatus::Mode}, EPath{ESetting::PreferredSource}}) {
        handler(path)->initialize();
    }
    EXPECT_EQ(only(store.calls().calls(), "load"),
              (Calls{"attribute(PowerDistribution).load Identification.Attribute.Uuid",
                     "specification(PowerDistribution).load Specification.Type",
                     "status(PowerDistribution).load Status.Mode",
                     "setting(PowerDistribution).load Setting.PreferredSource"}));
}

TEST_F(PowerEquipmentTest, TheHealthOfThePowerDistributionHangsBelowItsOwnPath) {
    serveIdentity();
    make<PowerDistributionHandler>({});
    EXPECT_EQ(store.calls().count("alarm(PowerDistribution).subscribe PowerDistribution.Status.HealthState "
                                  "every=0 initial=0"),
              1U);
}

TEST_F(PowerEquipmentTest, AKnownDeviceIsStoredUnderItsUuid) {
    serveIdentity();
    const auto made = make<PowerDistributionHandler>({});
    EXPECT_EQ(store.connector("device(root)")->lastStored(distribution), Value(Uuid(deviceUuid)));
    EXPECT_TRUE(only(store.calls().calls(), "device(root).load").empty());
}

TEST_F(PowerEquipmentTest, ADeviceWithoutUuidTakesTheOneOfTheStore) {
    const Uuid stored{deviceUuid};
    store.onBuild([&](const std::string& name, FakeConnector& made) {
        if (name == "device(root)") {
            made.setLoad(distribution, Value{stored});
        }
    });
    make<PowerDistributionHandler>({});
    EXPECT_EQ(only(store.calls().calls(), "device(root)."),
              (Calls{"device(root).load PowerDistribution", "device(root).destroyed"}));
    EXPECT_EQ(store.builds()[1], "buildStatusConnector(" + deviceUuid + ")");
}

TEST_F(PowerEquipmentTest, ADeviceWithoutUuidAndWithoutStoreKeepsTheNilUuid) {
    make<PowerDistributionHandler>({});
    EXPECT_EQ(store.builds()[1], "buildStatusConnector(nil)");
}

TEST_F(PowerEquipmentTest, ADeviceInItsBootloaderIsLoadedAndNotStored) {
    serveIdentity();
    device.add({EStatus::BootloaderMode}, Value{true});
    make<PowerDistributionHandler>({});
    EXPECT_EQ(only(store.calls().calls(), "device(root)."),
              (Calls{"device(root).load PowerDistribution", "device(root).destroyed"}));
}

TEST_F(PowerEquipmentTest, AStoreThatKnowsNoUuidForTheDeviceEndsTheBuild) {
    store.onBuild([](const std::string& name, FakeConnector& made) {
        if (name == "device(root)") {
            made.setLoad(distribution, Value{});
        }
    });
    EXPECT_THROW(make<PowerDistributionHandler>({}), UnexpectedIndex);
}

TEST_F(PowerEquipmentTest, WhatTheDeviceDoesNotServeHasNoHandlerAndNoMessage) {
    serveIdentity();
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    make<PowerDistributionHandler>({});
    EXPECT_EQ(::testing::internal::GetCapturedStdout() + ::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(model.all().count(distribution + EStatus::OperatingStatus), 0U);
    EXPECT_EQ(model.all().count({ECircuit::PowerModules}), 0U);
    EXPECT_EQ(model.all().count({ECircuit::PowerConverters}), 0U);
    EXPECT_EQ(model.all().count({ECircuit::Environment}), 0U);
}

TEST_F(PowerEquipmentTest, AFailureOfTheWrapperFactoryPasses) {
    serveIdentity();
    device.throwOnBuild({ECircuit::Environment}, "no memory");
    EXPECT_THROW(make<PowerEquipmentHandler>({}), std::runtime_error);
}

} // namespace
} // namespace velk::powerdistribution::handlers
