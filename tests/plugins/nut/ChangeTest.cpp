// Settings and actions, through the real server.

#include "testing/NutServer.h"
#include "tests/plugins/nut/HostedPlugin.h"

#include <gtest/gtest.h>

#include <fstream>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::HostedPlugin;
using velk::testing::NutServer;
using velk::testing::TemporaryDirectory;

const EPath lowCharge{ECircuit::BackupSystem, ECircuit::PowerBank, ESetting::LowStateOfChargeThreshold};
const EPath offDelay{ECircuit::Outputs, 1U, ESetting::AutomaticSwitchOffDelay};
const EPath switchOff{ECircuit::Outputs, 1U, EAction::SwitchOff};

/// The single-phase UPS with limits and commands, as a driver of a real device has them.
class ChangeTest : public ::testing::Test {
protected:
    static std::string deviceFile(const TemporaryDirectory& folder) {
        const std::string path = (folder / "device.dev").string();
        std::ofstream{path}
            << std::ifstream{NutServer::demoFile("ups-1ph.dev")}.rdbuf()
            << "RW:battery.charge.low:NUMBER\nRW:ups.delay.shutdown:RANGE:0 600\n"
               "RW:input.sensitivity:ENUM:normal\nRW:input.sensitivity:ENUM:reduced\n"
               "RW:ups.id:STRING:8\nCMD:load.off\nCMD:load.off.delay\nCMD:test.battery.start.quick\n"
               "CMD:beeper.mute\nCMD:outlet.1.load.off\n";
        return path;
    }

    bool isReceived(const std::string& change) {
        return server.control("u1", "LOG").find(change + ";") != std::string::npos;
    }

    TemporaryDirectory folder;
    NutServer server{{std::string{"u1="} + VELK_NUT_TESTDRIVER + ":" + deviceFile(folder)}};
    HostedPlugin plugin{server.port(), "u1"};
};

TEST_F(ChangeTest, SettingReachesTheDeviceAndIsReadAtOnce) {
    ASSERT_TRUE(plugin.find());
    const auto wrapper = plugin.wrapper(lowCharge);
    ASSERT_TRUE(wrapper->isWritable());
    for (const float asked : {21.0F, 22.5F, 23.0F}) {
        EXPECT_TRUE(wrapper->write(asked));
        EXPECT_EQ(wrapper->read(), Value{asked}) << "not the old value for a moment";
    }
    EXPECT_TRUE(isReceived("SET battery.charge.low 22.5"));
    EXPECT_FALSE(plugin.wrapper({ECircuit::Outputs, 1U, ESetting::AutomaticSwitchOnDelay})->isWritable());
}

TEST_F(ChangeTest, LimitsOfTheServerAreKept) {
    ASSERT_TRUE(plugin.find());
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(plugin.wrapper(offDelay)->write(std::int32_t{601}));
    EXPECT_FALSE(plugin.wrapper({ESetting::SensitivityMode})->write(std::uint32_t{2}))
        << "the device has no word for it";
    const std::string told = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("601 is not from 0 to 600"), std::string::npos) << told;
    EXPECT_EQ(server.control("u1", "LOG"), "") << "nothing was sent";
    EXPECT_TRUE(plugin.wrapper(offDelay)->write(std::int32_t{600}));
    EXPECT_TRUE(plugin.wrapper({ESetting::SensitivityMode})->write(std::uint32_t{3}));
    EXPECT_TRUE(isReceived("SET input.sensitivity reduced"));
}

TEST_F(ChangeTest, RefusalOfTheDriverIsARefusal) {
    ASSERT_TRUE(plugin.find());
    server.control("u1", "CODE 3");
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(plugin.wrapper(lowCharge)->write(30.0F));
    server.control("u1", "CODE 3");
    EXPECT_FALSE(plugin.wrapper(switchOff)->write(std::int32_t{0}));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("battery.charge.low was not set: ERR FAILED"),
              std::string::npos);
    EXPECT_EQ(plugin.read(lowCharge), Value{20.0F});
}

TEST_F(ChangeTest, SettingThatTheDeviceIgnoresIsRefused) {
    ASSERT_TRUE(plugin.find());
    server.control("u1", "IGNORE 1");
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(plugin.wrapper(lowCharge)->write(30.0F));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("the device kept battery.charge.low at \"20\""),
              std::string::npos);
    EXPECT_EQ(plugin.read(lowCharge), Value{20.0F});
}

TEST_F(ChangeTest, ActionsReachTheDeviceWithTheirDelay) {
    ASSERT_TRUE(plugin.find());
    EXPECT_TRUE(plugin.wrapper(switchOff)->write(std::int32_t{0}));
    EXPECT_TRUE(plugin.wrapper(switchOff)->write(std::int32_t{45}));
    EXPECT_TRUE(
        plugin.wrapper({ECircuit::BackupSystem, ECircuit::PowerBank, EAction::StartTest})->write(true));
    EXPECT_TRUE(plugin.wrapper({ECircuit::Outlets, 1U, EAction::SwitchOff})->write(std::int32_t{0}));
    EXPECT_EQ(server.control("u1", "LOG"), "INSTCMD load.off;INSTCMD load.off.delay 45;INSTCMD "
                                           "test.battery.start.quick;INSTCMD outlet.1.load.off;");
    EXPECT_EQ(plugin.wrapper({ECircuit::Outlets, 2U, EAction::SwitchOff}), nullptr);
}

TEST_F(ChangeTest, WrongPasswordRefusesChangesAndNothingElse) {
    HostedPlugin intruder{server.port(), "u1", {"velk", "wrong", "", 200}};
    ASSERT_TRUE(intruder.find());
    EXPECT_EQ(intruder.read(lowCharge), Value{20.0F});
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(intruder.wrapper(lowCharge)->write(30.0F));
    EXPECT_FALSE(intruder.wrapper(switchOff)->write(std::int32_t{0}));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("ERR ACCESS-DENIED"), std::string::npos);
    EXPECT_EQ(server.control("u1", "LOG"), "");
}

TEST(RealDriverTest, SettingOfTheRealDriverIsTracked) {
    const NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
    HostedPlugin plugin{server.port(), "u1"};
    ASSERT_TRUE(plugin.find());
    const auto wrapper = plugin.wrapper(lowCharge);
    EXPECT_TRUE(wrapper->write(25.0F));
    EXPECT_EQ(wrapper->read(), Value{25.0F});
    EXPECT_TRUE(plugin.wrapper({ESetting::AutomaticRestartEnabled})->write(false));
    EXPECT_EQ(plugin.read({ESetting::AutomaticRestartEnabled}), Value{false});
}

} // namespace
} // namespace velk::nut
