#include "powerdistribution/handlers/HandlerGenerators.h"

#include "HandlerFixture.h"
#include "powerdistribution/handlers/RWValueHandler.h"
#include "powerdistribution/handlers/WOValueHandler.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;
using Calls = std::vector<std::string>;

const EPath path{ECircuit::Inputs, 1u};

class HandlerGeneratorsTest : public testing::HandlerFixture {
protected:
    /// Asks for every member of `E`, and expects `count` questions from the first to the last one.
    template <typename E>
    void expectMembers(std::uint32_t count, const std::string& first, const std::string& last) {
        device.forgetAsked();
        generateHandlersFromEnum<E>(path, connector, factories);
        const Calls asked = device.asked();
        ASSERT_EQ(asked.size(), count) << last;
        for (std::uint32_t number = 1; number <= count; ++number) {
            EXPECT_EQ(asked[number - 1], (path + static_cast<E>(number)).nodesToString());
        }
        EXPECT_EQ(asked.front(), "Inputs.1." + first);
        EXPECT_EQ(asked.back(), "Inputs.1." + last);
    }

    std::shared_ptr<FakeConnector> connector = std::make_shared<FakeConnector>("c");
};

TEST_F(HandlerGeneratorsTest, AsksForEveryMemberInRisingOrder) {
    expectMembers<EStatus>(102, "Status.BmsFailure", "Status.HealthState");
    expectMembers<ESpecification>(50, to_string(static_cast<ESpecification>(1)),
                                  "Specification.TrippedVoltageThreshold");
    expectMembers<EMeasurement>(37, to_string(static_cast<EMeasurement>(1)), "Measure.Phase");
    expectMembers<EAttribute>(18, "Attribute.Count", "Attribute.Vendor");
    expectMembers<ESetting>(45, "Setting.AudibleAlarmControl", "Setting.WiringFaultEnabled");
    expectMembers<EAction>(8, "Action.AbortTest", "Action.SwitchOn");
}

TEST_F(HandlerGeneratorsTest, AsksForTheFreeNumberOfTheSettingsToo) {
    generateSettingHandlers(path, connector, factories);
    EXPECT_EQ(device.asked().size(), 45U);
    EXPECT_EQ(device.asked()[35], "Inputs.1.UNKNOWN");
}

TEST_F(HandlerGeneratorsTest, PrivateActionsAreSeven) {
    generatePrivateActionHandlers(path, connector, factories);
    EXPECT_EQ(device.asked(),
              (Calls{"Inputs.1.PrivateAction.ExportKdp", "Inputs.1.PrivateAction.SetDate",
                     "Inputs.1.PrivateAction.SetFirmwareVersion", "Inputs.1.PrivateAction.SetIpv4Address",
                     "Inputs.1.PrivateAction.SetIpv6Address", "Inputs.1.PrivateAction.SetMacAddress",
                     "Inputs.1.PrivateAction.SetProductName"}));
}

TEST_F(HandlerGeneratorsTest, MakesAHandlerForWhatTheDeviceServesAndNothingElse) {
    device.add(path + EStatus::Mode);
    device.add(path + EStatus::Supply);
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    generateHandlersFromEnum<EStatus>(path, connector, factories);
    EXPECT_EQ(::testing::internal::GetCapturedStdout() + ::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(pathsOf(model.all()), (Calls{"Inputs.1.Status.Mode", "Inputs.1.Status.Supply"}));
    EXPECT_TRUE(connector->calls().calls().empty()) << "no channel is touched during the build";
}

TEST_F(HandlerGeneratorsTest, DataPointsOfOneKindShareTheConnector) {
    device.add(path + EStatus::Mode, Value{1u});
    device.add(path + EStatus::Supply, Value{true});
    generateHandlersFromEnum<EStatus>(path, connector, factories);
    for (const auto& [key, made] : model.all()) {
        made->refresh();
    }
    EXPECT_EQ(connector->calls().calls(),
              (Calls{"c.store Inputs.1.Status.Mode=1", "c.store Inputs.1.Status.Supply=1"}));
}

TEST_F(HandlerGeneratorsTest, SettingsGoBothWaysWithoutTheirInitialValue) {
    const EPath setting = path + ESetting::NominalVoltage;
    device.add(setting);
    generateSettingHandlers(path, connector, factories);
    EXPECT_NE(dynamic_cast<RWValueHandler*>(handler(setting).get()), nullptr);
    EXPECT_EQ(connector->calls().calls(),
              Calls{"c.subscribe Inputs.1.Setting.NominalVoltage every=0 initial=0"});
}

TEST_F(HandlerGeneratorsTest, ActionsHearEveryWriteAndNoInitialValue) {
    const EPath action = path + EAction::StartTest;
    device.add(action);
    generateActionHandlers(path, connector, factories);
    EXPECT_NE(dynamic_cast<WOValueHandler*>(handler(action).get()), nullptr);
    EXPECT_EQ(connector->calls().calls(), Calls{"c.subscribe Inputs.1.Action.StartTest every=1 initial=0"});
}

TEST_F(HandlerGeneratorsTest, PrivateActionsHearEveryWriteAndNoInitialValue) {
    device.add(path + EPrivateAction::SetDate);
    generatePrivateActionHandlers(path, connector, factories);
    EXPECT_EQ(connector->calls().calls(),
              Calls{"c.subscribe Inputs.1.PrivateAction.SetDate every=1 initial=0"});
}

TEST_F(HandlerGeneratorsTest, AFailureOfTheWrapperFactoryPasses) {
    device.throwOnBuild(path + EStatus::Mode, "no memory");
    EXPECT_THROW(generateHandlersFromEnum<EStatus>(path, connector, factories), std::runtime_error);
}

} // namespace
} // namespace velk::powerdistribution::handlers
