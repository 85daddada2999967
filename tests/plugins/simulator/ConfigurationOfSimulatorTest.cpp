// The plug-in's member of the configuration: what is taken, and where a mistake is said to be.

#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>

namespace velk::simulator {
namespace {

using powerdistribution::Value;
using velk::testing::SimulatorHost;
using velk::testing::TemporaryDirectory;

class SimulatorConfigurationTest : public ::testing::Test {
protected:
    using Check = int(const char* configurationPath, char* message, unsigned long size);

    SimulatorConfigurationTest() : handle{dlopen(SimulatorHost::plugin().c_str(), RTLD_NOW | RTLD_LOCAL)} {}
    ~SimulatorConfigurationTest() override { dlclose(handle); }

    /// "LINE:COLUMN: REASON" of the configuration; "good" for a good one.
    std::string check(const std::string& text) {
        const std::string path = (folder / "velk.json").string();
        std::ofstream{path} << text;
        auto* const ask = reinterpret_cast<Check*>(dlsym(handle, "velkProtocolCheck"));
        std::array<char, 1024> message{};
        if (ask(path.c_str(), message.data(), message.size()) == 0) {
            return "good";
        }
        const std::string told = message.data();
        return told.rfind(path + ":", 0) == 0 ? told.substr(path.size() + 1) : told;
    }
    std::string checkSection(const std::string& members) {
        return check(R"({"simulator":{)" + members + "}}");
    }

    TemporaryDirectory folder;
    void* handle;
};

TEST_F(SimulatorConfigurationTest, GoodSectionAndNoSectionPass) {
    EXPECT_EQ(check("{}"), "good");
    EXPECT_EQ(checkSection(R"("device":"ats")"), "good");
    EXPECT_EQ(
        checkSection(R"("device":"ups-3ph","speed":60,"tickMs":50,"seed":7,"control":"s","timeoutMs":5,)"
                     R"("scenario":"demo.json","uuid":"9f2c1c9e-6f0d-4a8e-9a7b-3c5d7e9f1b2d",)"
                     R"("faults":[{"kind":"linkLost"}],"alarmFile":"a.json")"),
        "good");
}

TEST_F(SimulatorConfigurationTest, EachMistakeIsToldWithItsPlace) {
    EXPECT_EQ(check("{\n \"simulator\": 3}"), "2:15: \"simulator\" must be an object");
    EXPECT_EQ(checkSection(""), "1:14: \"simulator\" needs a member \"device\", the device's name or file");
    EXPECT_EQ(checkSection(R"("device":"toaster")"), "1:24: \"device\" is \"toaster\", expected the file of "
                                                     "a device or the name of one, such as \"ups-1ph\", "
                                                     "\"ups-3ph\", \"ats\" or \"pdu-42\"");
    EXPECT_EQ(checkSection(R"("device":"ats","speed":-1)"), "1:38: \"speed\" is -1, expected 0 to 100000");
    EXPECT_EQ(checkSection(R"("device":"ats","tickMs":0)"), "1:39: \"tickMs\" is 0, expected 1 to 60000");
    EXPECT_EQ(checkSection(R"("device":"ats","timeoutMs":60001)"),
              "1:42: \"timeoutMs\" is 60001, expected 1 to 60000");
    EXPECT_EQ(checkSection(R"("device":"ats","uuid":"x")"),
              "1:37: \"uuid\" is \"x\", expected a Uuid of 36 characters");
    EXPECT_EQ(checkSection(R"("device":"ats","faults":{})"), "1:39: \"faults\" must be an array of faults");
    EXPECT_EQ(checkSection(R"("device":"ats","faults":[{"kind":"slow"}])"),
              "1:40: the object needs a member \"ms\", how many milliseconds a read takes");
    EXPECT_EQ(checkSection(R"("device":"ats","control":"")"), "1:40: \"control\" is empty");
    EXPECT_NE(checkSection(R"("device":"ats","control":")" + std::string(120, 's') + "\"").find("too long"),
              std::string::npos);
    EXPECT_EQ(checkSection(R"("device":"ats","seed":-1)").rfind("1:37: ", 0), 0U);
    EXPECT_EQ(checkSection(R"("device":"ats","sped":1)"),
              "1:37: \"sped\" is unknown, expected \"device\", \"uuid\", \"speed\", \"tickMs\", "
              "\"timeoutMs\", \"seed\", "
              "\"control\", \"scenario\", \"faults\" or \"alarmFile\"");
    EXPECT_EQ(check("{\"simulator\":\n{").rfind("2:", 0), 0U);
}

TEST_F(SimulatorConfigurationTest, MistakesInTheFilesThatItNamesAreToldWithTheirOwnPlace) {
    std::ofstream{folder / "bad.json"} << "{\n  \"kind\": \"toaster\"\n}";
    EXPECT_EQ(checkSection(R"("device":"bad.json")").rfind((folder / "bad.json").string() + ":2:", 0), 0U);
    std::ofstream{folder / "story.json"} << "{\"name\":\"n\",\n\"steps\":[{\"at\":1}]}";
    EXPECT_EQ(checkSection(R"("device":"ats","scenario":"story.json")"),
              (folder / "story.json").string() + ":2:10: the object needs a member \"do\" or \"say\"");
    EXPECT_EQ(checkSection(R"("device":"ats","scenario":"none.json")"),
              (folder / "none.json").string() + ": cannot be read");
}

TEST_F(SimulatorConfigurationTest, BadSectionKeepsThePluginAwayWithOneLine) {
    std::ofstream{folder / "velk.json"} << R"({"protocolLibraries":[")" << SimulatorHost::plugin()
                                        << R"("],"simulator":{"device":3}})";
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(common::loadDynamicLibraries((folder / "velk.json").string()).empty());
    const std::string told = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(told.rfind("simulator: " + (folder / "velk.json").string() + ":1:", 0), 0U) << told;
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
}

TEST_F(SimulatorConfigurationTest, DeviceOfTheConfigurationsFolderGoesBeforeTheShippedOne) {
    std::ofstream{folder / "ats.json"} << "{";
    EXPECT_EQ(checkSection(R"("device":"ats")").rfind((folder / "ats.json").string() + ":1:", 0), 0U);
}

TEST_F(SimulatorConfigurationTest, FolderOfTheEnvironmentGoesBeforeAllOthers) {
    const TemporaryDirectory chosen;
    std::ofstream{chosen / "ats.json"} << "{";
    std::ofstream{folder / "ats.json"} << "{";
    setenv("VELK_SIMULATOR_DEVICES", chosen.path().c_str(), 1);
    const std::string told = checkSection(R"("device":"ats")");
    unsetenv("VELK_SIMULATOR_DEVICES");
    EXPECT_EQ(told.rfind((chosen / "ats.json").string() + ":1:", 0), 0U) << told;
}

TEST(CopiedPluginTest, CopyUnderAnotherNameHasASectionAndAUuidOfItsOwn) {
    const TemporaryDirectory folder;
    const auto copy = folder / "libvelk-mz-protocol-twin.so";
    std::filesystem::copy_file(SimulatorHost::plugin(), copy);
    std::ofstream{folder / "velk.json"} << R"({"protocolLibraries":[")" << SimulatorHost::plugin() << R"(",")"
                                        << copy.string() << R"("],"simulator":{"device":"ats","speed":0},)"
                                        << R"("twin":{"device":"pdu-42","speed":0}})";
    auto libraries = common::loadDynamicLibraries((folder / "velk.json").string());
    ASSERT_EQ(libraries.size(), 2U);
    EXPECT_NE(libraries.front()->protocolLibrary().uuid(), libraries.back()->protocolLibrary().uuid());
    for (const auto& library : libraries) {
        const std::shared_ptr<powerdistribution::protocols::IProtocol> protocol =
            library->protocolLibrary().builder()->create();
        EXPECT_EQ(protocol->protocolUuid(), library->protocolLibrary().uuid());
        protocol->start();
        ASSERT_TRUE(protocol->discover());
        const auto factory = library->protocolLibrary().wrapperFactory(protocol);
        EXPECT_TRUE(factory->buildWrapper(testing::pathOfText("Identification.Attribute.SerialNumber")));
        EXPECT_EQ(factory->buildWrapper(testing::pathOfText("Outlets.42.Status.Supply")) != nullptr,
                  library == libraries.back());
        protocol->stop();
    }
}

TEST(CopiedPluginTest, UuidOfTheSectionGoesBeforeTheDerivedOne) {
    SimulatorHost host{R"("device":"ats","uuid":"9f2c1c9e-6f0d-4a8e-9a7b-3c5d7e9f1b2d")"};
    EXPECT_EQ(host.protocol->protocolUuid().toString(), "9f2c1c9e-6f0d-4a8e-9a7b-3c5d7e9f1b2d");
}

TEST(ClockOfTheDeviceTest, ShowsTheTimeOfDayAndAFixedOneWhenTimeIsMovedByHand) {
    const auto shown = [](const std::string& members) {
        SimulatorHost host{members};
        EXPECT_TRUE(host.find());
        return host.read("Identification.Attribute.CurrentDate").get<conv::UnixTime>().toIntegralType();
    };
    const auto before = conv::UnixTime::now().toIntegralType();
    const auto live = shown(R"("device":"ats","speed":1)");
    EXPECT_GE(live, before);
    EXPECT_LE(live, conv::UnixTime::now().toIntegralType() + 60);
    const auto byHand = shown(R"("device":"ats")");
    EXPECT_GE(byHand, 1767225600U) << "2026-01-01";
    EXPECT_LE(byHand, 1767225600U + 60);
}

} // namespace
} // namespace velk::simulator
