// The control socket: every command, and every client that a socket may meet.

#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <vector>

namespace velk::simulator {
namespace {

using namespace powerdistribution;
using simctl::Connection;
using velk::testing::SimulatorHost;

class ControlTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(host.find()); }
    float number(const std::string& path) { return std::stof(host.held(path)); }
    std::string refusal(const std::string& json) {
        const std::string answer = host.ask(json);
        const common::lwjson::Deserializer text{answer};
        return text.findMember("ok")->asBool() ? "taken" : text.findMember("error")->text();
    }
    std::string socketPath() const { return (host.folder / "sim.sock").string(); }

    SimulatorHost host{R"("device":"ups-3ph")"};
};

TEST_F(ControlTest, MainsShowWhenTheCommandIsAnswered) {
    host.command(R"({"do":"mains","input":1,"state":"lost"})");
    EXPECT_EQ(host.read("Inputs.1.Measure.Voltage"), Value{0.0F});
    EXPECT_EQ(host.read("Inputs.2.Measure.Voltage"), Value{230.0F});
    host.command(R"({"do":"mains","input":1,"state":"normal","voltage":225})");
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "225");
}

TEST_F(ControlTest, LoadOfAnOutletIsWhatItDraws) {
    host.command(R"({"do":"load","outlet":2,"watts":1234})");
    EXPECT_NEAR(number("Outlets.2.Measure.ActivePower"), 1234, 1);
}

TEST_F(ControlTest, BatteryHasTheChargeThatItIsGiven) {
    host.command(R"({"do":"battery","charge":50})");
    EXPECT_NEAR(number("BackupSystem.PowerBank.Measure.StateOfCharge"), 50, 0.2);
}

TEST_F(ControlTest, SetAndActionActAtTheDevicesOwnPanel) {
    host.command(R"({"do":"fault","kind":"linkLost"})"); // which the panel does not need
    host.command(R"({"do":"set","path":"Setting.HighEfficiencyEnabled","value":true})");
    EXPECT_EQ(host.held("Setting.HighEfficiencyEnabled"), "true");
    ASSERT_EQ(host.held("Outlets.1.Status.SwitchedOn"), "true");
    host.command(R"({"do":"action","path":"Outlets.1.Action.SwitchOff"})");
    EXPECT_EQ(host.held("Outlets.1.Status.SwitchedOn"), "false");
}

TEST_F(ControlTest, WhatTheDeviceDoesNotTakeIsRefusedWithWhatItTakes) {
    EXPECT_EQ(
        refusal(R"({"do":"set","path":"Inputs.9.Setting.X","value":1})"),
        "\"path\" is \"Inputs.9.Setting.X\", which the device does not serve; \"points\" lists what it does");
    EXPECT_EQ(refusal(R"({"do":"set","path":"Setting.HighEfficiencyEnabled","value":3})"),
              "\"value\" is 3, expected bool");
    EXPECT_EQ(
        refusal(
            R"({"do":"set","path":"BackupSystem.PowerBank.Setting.LowStateOfChargeThreshold","value":99})"),
        "the device does not take 99 for \"BackupSystem.PowerBank.Setting.LowStateOfChargeThreshold\", "
        "expected "
        "float, 5 to 90");
    EXPECT_EQ(refusal(R"({"do":"action","path":"Status.Mode"})"),
              "\"path\" is \"Status.Mode\", which is no action");
    EXPECT_NE(refusal(R"({"do":"mains","input":9,"state":"lost"})"), "taken");
    EXPECT_NE(refusal(R"({"do":"counts","Outlets":99})"), "taken");
}

TEST_F(ControlTest, GetTellsValueAndTypeWhateverTheLinkIsLike) {
    host.command(R"({"do":"fault","kind":"linkLost"})");
    EXPECT_EQ(host.ask(R"({"do":"get","path":"Inputs.1.Measure.Voltage"})"),
              R"({"ok":true,"value":230,"type":"float"})");
    EXPECT_EQ(host.ask(R"({"do":"get","path":"Outlets.1.Action.SwitchOff"})")
                  .rfind(R"({"ok":true,"value":null,)", 0),
              0U);
}

TEST_F(ControlTest, PointsTellEverythingThatIsServed) {
    const common::lwjson::Deserializer json{host.ask(R"({"do":"points"})")};
    const auto* voltage = json.findMember("points")->findMember("Inputs.1.Measure.Voltage");
    ASSERT_NE(voltage, nullptr);
    EXPECT_EQ(voltage->text(), R"({"value":230,"type":"float","writable":false})");
    EXPECT_EQ(json.findMember("points")->findMember("Setting.HighEfficiencyEnabled")->text(),
              R"({"value":false,"type":"bool","writable":true})");
}

TEST_F(ControlTest, IdentityChangesWhatItIsTold) {
    host.command(R"({"do":"identity","serialNumber":"S-2","firmwareVersion":"9.9"})");
    EXPECT_EQ(host.read("Identification.Attribute.SerialNumber"), Value{std::string{"S-2"}});
    EXPECT_EQ(host.read("Identification.Attribute.FirmwareVersion"), Value{std::string{"9.9"}});
}

TEST(ControlIdentityTest, UuidThatTheDeviceDidNotHaveIsServedToTheNextFactory) {
    SimulatorHost host{R"("device":"ats")"};
    ASSERT_TRUE(host.find());
    ASSERT_EQ(host.wrapper("Identification.Attribute.Uuid"), nullptr);
    host.command(R"({"do":"identity","uuid":"5f1d6a0e-3c5b-4e0a-9f4e-2f3d4c0b1a02"})");
    ASSERT_TRUE(host.find());
    EXPECT_EQ(host.read("Identification.Attribute.Uuid"),
              Value{std::string{"5f1d6a0e-3c5b-4e0a-9f4e-2f3d4c0b1a02"}});
}

TEST_F(ControlTest, StatusTellsTimeSpeedLinkAndFaults) {
    host.advance(1.5);
    host.command(R"({"do":"fault","kind":"slow","ms":5})");
    const std::string answer = host.ask(R"({"do":"status"})");
    EXPECT_NE(answer.find(R"("time":1.5,"speed":0,"link":"up","scenario":null,"faults":["slow, 5 ms"]})"),
              std::string::npos)
        << answer;
}

TEST_F(ControlTest, ScenarioRunsOnSimulatedTimeAndItsHeadlinesAreSent) {
    std::ofstream{host.folder / "s.json"} << R"({"name":"short","steps":[)"
                                          << R"({"at":1,"say":"one","do":"mains","state":"lost"},)"
                                          << R"({"at":2,"say":"two","do":"load","outlet":99,"watts":5},)"
                                          << R"({"at":3,"do":"mains","state":"normal"}]})";
    host.command(R"({"do":"say","text":"before"})");
    EXPECT_EQ(host.ask(R"({"do":"play","scenario":"s.json"})"), R"({"ok":true,"headline":1})");
    Connection follower{socketPath()};
    follower.send(R"({"do":"follow","from":1})");
    EXPECT_EQ(follower.receive(), R"({"ok":true})");
    host.advance(0.9);
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "230");
    host.advance(0.1);
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "0");
    host.advance(2);
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "230");
    EXPECT_EQ(follower.receive(), R"({"say":"one","at":1})");
    EXPECT_EQ(follower.receive(), R"({"say":"two","at":2})");
    EXPECT_EQ(follower.receive().rfind(R"({"say":"a step could not be done: )", 0), 0U);
    EXPECT_EQ(follower.receive(), R"({"ended":"short","at":3})");
}

TEST_F(ControlTest, ScenarioThatCannotBeReadIsRefused) {
    EXPECT_EQ(refusal(R"({"do":"play","scenario":"none.json"})"),
              (host.folder / "none.json").string() + ": cannot be read");
}

TEST_F(ControlTest, SpeedMovesTheTimeByItself) {
    host.command(R"({"do":"speed","factor":1000})");
    EXPECT_TRUE(SimulatorHost::awaitThat([&] {
        const common::lwjson::Deserializer status{host.ask(R"({"do":"status"})")};
        return status.findMember("time")->asDouble() > 5;
    }));
    host.command(R"({"do":"speed","factor":0})");
    const std::string first = host.ask(R"({"do":"status"})");
    EXPECT_EQ(host.ask(R"({"do":"status"})"), first);
}

TEST_F(ControlTest, SeveralClientsAreServedEachInItsOrder) {
    Connection other{socketPath()};
    other.send(R"({"do":"get","path":"Status.Mode"})");
    other.send(R"({"do":"nothing"})");
    host.command(R"({"do":"say","text":"x"})");
    EXPECT_EQ(other.receive().rfind(R"({"ok":true)", 0), 0U);
    EXPECT_EQ(other.receive().rfind(R"({"ok":false)", 0), 0U);
}

TEST_F(ControlTest, WhatIsNoJsonIsAnsweredAndTheClientMayGoOn) {
    EXPECT_EQ(host.ask("mains lost").rfind(R"({"ok":false,"error":"column )", 0), 0U);
    EXPECT_EQ(host.ask("\xff\xfe{").rfind(R"({"ok":false,)", 0), 0U);
    EXPECT_EQ(host.ask(std::string(5000, '[')).rfind(R"({"ok":false,)", 0), 0U);
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "230");
}

TEST_F(ControlTest, ClientWithAnEndlessLineIsSentAway) {
    Connection hostile{socketPath()};
    hostile.send(std::string(70000, 'x'));
    EXPECT_EQ(hostile.receive(), R"({"ok":false,"error":"a line has at most 65536 bytes"})");
    EXPECT_THROW(hostile.receive(), std::runtime_error);
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "230");
}

TEST_F(ControlTest, ManyLongAnswersComeToWhoReadsThemLate) {
    host.command(R"({"do":"identity","model":")" + std::string(65000, 'x') + R"("})");
    const std::string get = R"({"do":"get","path":"Identification.Attribute.Model"})";
    const std::size_t size = host.ask(get).size();
    ASSERT_GT(size, 65000U);
    const std::size_t count = 2 * 1024 * 1024 / size; // more than the server answers ahead
    std::string lines = get;
    for (std::size_t line = 1; line < count; ++line) {
        lines += "\n" + get;
    }
    ASSERT_LT(lines.size(), 16U * 1024) << "all of them are there at once";
    Connection patient{socketPath()};
    patient.send(lines);
    for (std::size_t line = 0; line < count; ++line) {
        ASSERT_EQ(patient.receive().size(), size);
    }
}

TEST_F(ControlTest, ThereAreOnlySoManyClients) {
    std::vector<std::unique_ptr<Connection>> clients;
    host.held("Status.Mode"); // the first
    for (int count = 1; count < 32; ++count) {
        clients.push_back(std::make_unique<Connection>(socketPath()));
    }
    Connection surplus{socketPath()};
    EXPECT_EQ(surplus.receive(), R"({"ok":false,"error":"there are 32 clients already"})");
    clients.clear();
    EXPECT_TRUE(SimulatorHost::awaitThat([&] {
        Connection next{socketPath()};
        next.send(R"({"do":"status"})");
        return next.receive().rfind(R"({"ok":true)", 0) == 0;
    }));
}

TEST_F(ControlTest, ClientThatGoesInTheMiddleDisturbsNobody) {
    for (int count = 0; count < 5; ++count) {
        Connection passing{socketPath()};
        passing.send(R"({"do":"points"})");
    }
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "230");
}

TEST_F(ControlTest, SocketIsTheOwnersAloneAndGoesWithTheProtocol) {
    struct stat found {};
    ASSERT_EQ(stat(socketPath().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
    host.protocol->stop();
    EXPECT_FALSE(std::filesystem::exists(socketPath()));
}

TEST_F(ControlTest, StopEndsALongCommandOfAClient) {
    Connection patient{socketPath()};
    patient.send(R"({"do":"advance","seconds":2000000})");
    host.protocol->stop();
    try {
        EXPECT_EQ(patient.receive(), R"({"ok":false,"error":"the simulator is being stopped"})");
    } catch (const std::runtime_error& ended) { // the server may go before it has looked at the client
        EXPECT_STREQ(ended.what(), "the simulator has ended");
    }
}

TEST(ControlSocketTest, SocketOfNobodyIsReplacedAndOneInUseIsNot) {
    SimulatorHost first{R"("device":"ats")"};
    ASSERT_TRUE(first.find());
    const std::string path = (first.folder / "sim.sock").string();
    ::testing::internal::CaptureStderr();
    auto second = first.library->protocolLibrary().builder()->create();
    second->start();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "simulator: no control socket: " + path +
                  ": is there already; another simulator may be using it\n");
    EXPECT_TRUE(second->discover()); // the device is there all the same
    second->stop();
    EXPECT_EQ(first.held("Inputs.1.Measure.Voltage"), "230");

    SimulatorHost left{R"("device":"ats")", false};
    const std::string stale = (left.folder / "sim.sock").string();
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    stale.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(socket);
    left.start();
    EXPECT_EQ(left.held("Inputs.1.Measure.Voltage"), "230");
}

} // namespace
} // namespace velk::simulator
