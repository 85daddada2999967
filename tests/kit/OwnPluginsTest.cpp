// The checker on the plug-ins of this house, each with a device that goes away and comes back.

#include "testing/ChildProcess.h"
#include "testing/NutServer.h"
#include "testing/SecretText.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace velk::kit {
namespace {

using velk::testing::ChildProcess;
using velk::testing::NutServer;
using velk::testing::TemporaryDirectory;

/// The rounds are fewer than an author's, whose plug-in is not tried at every build.
std::string check(const std::string& plugin, const std::string& configuration, const std::string& pause,
                  const std::string& resume) {
    ChildProcess program{{VELK_PLUGIN_CHECK,
                          std::string{VELK_PLUGIN_DIR} + "/libvelk-mz-protocol-" + plugin + ".so", "--config",
                          configuration, "--rounds", "100", "--slow-ms", "1000", "--pause-command", pause,
                          "--resume-command", resume}};
    const int code = program.finish();
    const std::string clean = "libvelk-mz-protocol-" + plugin + ".so: clean; ";
    return code == 0 && program.output().find(clean) != std::string::npos
               ? "clean"
               : program.output() + program.errors();
}

class NutPluginTest : public ::testing::TestWithParam<std::string> {};

TEST_P(NutPluginTest, IsClean) {
    NutServer server{{"u1=" + NutServer::demoFile(GetParam() + ".dev")}};
    const TemporaryDirectory folder;
    velk::testing::writeSecret(folder / "upsd.pass", std::string{NutServer::PASSWORD} + "\n");
    std::ofstream{folder / "velk.json"}
        << R"({"nut": {"port": )" << server.port()
        << R"(, "ups": "u1", "user": "velk", "passwordFile": "upsd.pass", "pollIntervalMs": 100,)"
        << R"( "alarmFile": ")" << NutServer::demoFile("alarms.json") << "\"}}";
    EXPECT_EQ(check("nut", (folder / "velk.json").string(), server.command("driver", "u1 kill"),
                    server.command("driver", "u1 start")),
              "clean");
}

std::string nameOf(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name;
}

INSTANTIATE_TEST_SUITE_P(Devices, NutPluginTest, ::testing::Values("ats", "ups-3ph"), nameOf);

class SimulatorPluginTest : public ::testing::TestWithParam<std::string> {};

TEST_P(SimulatorPluginTest, IsClean) {
    const TemporaryDirectory folder;
    std::ofstream{folder / "velk.json"} << R"({"simulator": {"device": ")" << GetParam()
                                        << R"(", "timeoutMs": 100, "control": "sim.sock"}})";
    const std::string control = std::string{VELK_SIMCTL} + " " + (folder / "sim.sock").string();
    EXPECT_EQ(check("simulator", (folder / "velk.json").string(), control + " fault kind=linkLost >/dev/null",
                    control + " clear >/dev/null"),
              "clean");
}

INSTANTIATE_TEST_SUITE_P(Devices, SimulatorPluginTest,
                         ::testing::Values("ups-1ph", "ups-3ph", "ats", "pdu-42"), nameOf);

} // namespace
} // namespace velk::kit
