// The plug-in's file in a host: loading, unloading, and what it says of a configuration that it cannot use.

#include "platform/common/DynamicLibrary.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "testing/NutServer.h"
#include "testing/TemporaryDirectory.h"
#include "tests/plugins/nut/HostedPlugin.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fstream>
#include <optional>

namespace velk::nut {
namespace {

using velk::testing::HostedPlugin;
using velk::testing::NutServer;
using velk::testing::TemporaryDirectory;

const std::string PLUGIN = std::string{VELK_NUT_PLUGIN_DIR} + "/libvelk-mz-protocol-nut.so";

bool isLoaded() {
    void* const handle = dlopen(PLUGIN.c_str(), RTLD_NOLOAD | RTLD_NOW);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

TEST(PluginTest, BearsLoadUseUnloadAndLoadAgain) {
    const NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
    for (int round = 0; round < 3; ++round) {
        HostedPlugin plugin{server.port(), "u1"};
        EXPECT_TRUE(isLoaded());
        ASSERT_TRUE(plugin.find());
        EXPECT_EQ(plugin.library->protocolLibrary().uuid(), plugin.protocol->protocolUuid());
        EXPECT_EQ(plugin.factory->protocolUuid(), plugin.protocol->protocolUuid());
        if (round == 1) {
            plugin.factory.reset();
            plugin.protocol.reset(); // without stop: the destructor joins the thread
        }
    }
}

TEST(PluginTest, IsGoneWhenItIsUnloaded) {
    { const HostedPlugin plugin{1, "u1"}; }
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
    EXPECT_FALSE(isLoaded());
#endif
}

class ConfigurationOfPluginTest : public ::testing::Test {
protected:
    /// How many plug-ins a configuration with this member loads.
    std::size_t load(const std::string& member) {
        std::ofstream{folder / "velk.json"} << R"({"protocolLibraries": [")" << PLUGIN << "\"]" << member
                                            << "}";
        ::testing::internal::CaptureStderr();
        const std::size_t count = velk::common::loadDynamicLibraries((folder / "velk.json").string()).size();
        told = ::testing::internal::GetCapturedStderr();
        return count;
    }

    TemporaryDirectory folder;
    std::string told;
};

TEST_F(ConfigurationOfPluginTest, WithoutItsMemberThePluginStaysSilentlyAway) {
    EXPECT_EQ(load(""), 0U);
    EXPECT_EQ(told, "");
}

TEST_F(ConfigurationOfPluginTest, BadMemberIsToldInOneLine) {
    EXPECT_EQ(load(R"(, "nut": {"ups": "u1", "port": 0})"), 0U);
    EXPECT_EQ(told.rfind("nut: " + (folder / "velk.json").string() + ":1:", 0), 0U) << told;
    EXPECT_NE(told.find("\"port\" is 0, expected 1 to 65535\n"), std::string::npos) << told;
}

TEST_F(ConfigurationOfPluginTest, GoodMemberLoadsIt) {
    EXPECT_EQ(load(R"(, "nut": {"ups": "u1"})"), 1U);
    EXPECT_EQ(told, "");
}

class CheckOfPluginTest : public ::testing::Test {
protected:
    using Check = int(const char* configurationPath, char* message, unsigned long size);

    CheckOfPluginTest() :
        handle{dlopen(PLUGIN.c_str(), RTLD_NOW | RTLD_LOCAL)},
        check{reinterpret_cast<Check*>(dlsym(handle, "velkProtocolCheck"))} {}
    ~CheckOfPluginTest() override { dlclose(handle); }

    std::string write(const std::string& text) const {
        const std::string path = (folder / "velk.json").string();
        std::ofstream{path} << text;
        return path;
    }

    TemporaryDirectory folder;
    void* handle;
    Check* check;
};

TEST_F(CheckOfPluginTest, GoodMemberAndNoMemberPass) {
    ASSERT_NE(check, nullptr);
    std::string message(200, 'x');
    EXPECT_EQ(check(write(R"({"nut": {"ups": "u1"}})").c_str(), message.data(), message.size()), 0);
    EXPECT_EQ(check(write(R"({"maxThreads": 5})").c_str(), message.data(), message.size()), 0);
    EXPECT_EQ(message, std::string(200, 'x'));
}

TEST_F(CheckOfPluginTest, BadMemberIsToldWithItsPlace) {
    ASSERT_NE(check, nullptr);
    const std::string path = write("{\n  \"nut\": {\"ups\": \"u1\",\n    \"port\": 70000}}");
    std::string message(500, 'x');
    EXPECT_EQ(check(path.c_str(), message.data(), message.size()), 1);
    EXPECT_STREQ(message.c_str(), (path + ":3:13: \"port\" is 70000, expected 1 to 65535").c_str());
}

TEST_F(CheckOfPluginTest, MessageIsCutToItsPlace) {
    ASSERT_NE(check, nullptr);
    const std::string path = write(R"({"nut": 3})");
    std::string message(9, 'x');
    EXPECT_EQ(check(path.c_str(), message.data(), 8), 1);
    EXPECT_EQ(message, path.substr(0, 7) + '\0' + 'x');
    EXPECT_EQ(check(path.c_str(), nullptr, 0), 1);
}

} // namespace
} // namespace velk::nut
