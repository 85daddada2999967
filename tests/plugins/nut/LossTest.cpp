// Loss and return of the device, through the real server.

#include "testing/NutServer.h"
#include "testing/StandardError.h"
#include "tests/plugins/nut/HostedPlugin.h"

#include <gtest/gtest.h>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::HostedPlugin;
using velk::testing::NutServer;

const EPath load{ECircuit::Outputs, 1U, EMeasurement::PercentLoad};

std::string simulated(const std::string& name) {
    return name + "=" + VELK_NUT_TESTDRIVER + ":" + NutServer::demoFile("ups-1ph.dev");
}

TEST(LossTest, KilledDriverIsLostAndItsReturnNeedsNoRestart) {
    NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
    HostedPlugin plugin{server.port(), "u1"};
    ASSERT_TRUE(plugin.find());
    const auto wrapper = plugin.wrapper(load);
    ASSERT_EQ(wrapper->read(), Value{34.0F});

    server.driver("u1", "kill");
    ASSERT_TRUE(HostedPlugin::awaitThat([&] { return plugin.state() == 3; }));
    EXPECT_EQ(wrapper->read(), Value{}) << "never an old value";
    EXPECT_FALSE(plugin.protocol->discover());

    server.driver("u1", "start");
    ASSERT_TRUE(HostedPlugin::awaitThat([&] { return plugin.protocol->discover(); }));
    EXPECT_EQ(plugin.state(), 2);
    EXPECT_EQ(wrapper->read(), Value{34.0F}) << "through the wrapper of before";
}

TEST(LossTest, StaleAndFrozenDriversAreLost) {
    NutServer server{{simulated("u1")}, "MAXAGE=2"};
    HostedPlugin plugin{server.port(), "u1"};
    ASSERT_TRUE(plugin.find());
    server.control("u1", "STALE");
    ASSERT_TRUE(HostedPlugin::awaitThat([&] { return plugin.state() == 3; }));
    server.control("u1", "FRESH");
    ASSERT_TRUE(HostedPlugin::awaitThat([&] { return plugin.state() == 2; }));
    server.control("u1", "HANG");
    ASSERT_TRUE(HostedPlugin::awaitThat([&] { return plugin.state() == 3; })) << "after the server's MAXAGE";
    server.driver("u1", "kill");
}

TEST(LossTest, ServerThatGoesAndComesIsFoundAgain) {
    NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
    HostedPlugin plugin{server.port(), "u1"};
    ASSERT_TRUE(plugin.find());
    server.server("stop");
    ASSERT_TRUE(HostedPlugin::awaitThat([&] { return plugin.state() == 3; }));
    server.server("start");
    EXPECT_TRUE(HostedPlugin::awaitThat([&] { return plugin.state() == 2; }));
}

TEST(LossTest, ServerThatIsDownAtTheStartIsFoundLater) {
    NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
    server.server("stop");
    HostedPlugin plugin{server.port(), "u1"};
    EXPECT_FALSE(plugin.protocol->discover());
    EXPECT_EQ(plugin.state(), 3);
    server.server("start");
    EXPECT_TRUE(plugin.find());
}

TEST(LossTest, UnknownDeviceIsNeverFound) {
    const NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
    const velk::testing::StandardError errors;
    const HostedPlugin plugin{server.port(), "nix"};
    EXPECT_NE(errors.await(": ERR UNKNOWN-UPS\n").find(": ERR UNKNOWN-UPS\n"), std::string::npos);
    EXPECT_FALSE(plugin.protocol->discover());
}

TEST(LossTest, ChangeOfTheDeviceIsSeen) {
    const NutServer server{{simulated("u1")}};
    HostedPlugin plugin{server.port(), "u1"};
    ASSERT_TRUE(plugin.find());
    const auto wrapper = plugin.wrapper(load);
    server.control("u1", "SET ups.load 77");
    EXPECT_TRUE(HostedPlugin::awaitThat([&] { return wrapper->read() == Value{77.0F}; }));
    server.control("u1", "SET ups.load " + std::string(250, '9'));
    EXPECT_TRUE(HostedPlugin::awaitThat([&] { return wrapper->read() == Value{}; }));
    EXPECT_EQ(plugin.state(), 2);
}

} // namespace
} // namespace velk::nut
