#include "daemon/SystemHostSource.h"

#include "daemon/ConfigurationFile.h"
#include "tests/daemon/HostTree.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace velk::daemon {
namespace {

class SystemHostSourceTest : public ::testing::Test {
protected:
    IHostSource::Reading read(HostSettings settings = {}) {
        SystemHostSource source{std::move(settings), tree.path(),
                                [this](const std::string& name) { return tree.ipv4(name); }};
        return source.read();
    }

    HostTree tree;
};

TEST_F(SystemHostSourceTest, AddressesAreThoseOfTheMainInterface) {
    tree.addLoopback();
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    tree.addIpv6("20010db8000000000000000000000001", "eth0");
    const IHostSource::Reading reading = read();
    EXPECT_EQ(reading.facts.macAddress, "02:00:00:00:00:01");
    EXPECT_EQ(reading.facts.ipv4Address, "192.0.2.1");
    EXPECT_EQ(reading.facts.ipv6Address, "2001:db8::1");
    EXPECT_EQ(reading.trouble, "");
}

TEST_F(SystemHostSourceTest, TheChosenInterfaceGoesBeforeTheDefaultRoute) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    tree.addInterface("eth1", 3, "02:00:00:00:00:02", "198.51.100.1", "0x1002");
    tree.addIpv4Route("eth0", 0);
    EXPECT_EQ(read({"eth1", "", ""}).facts.ipv4Address, "198.51.100.1");
}

TEST_F(SystemHostSourceTest, AChosenInterfaceThatIsNotThereIsTroubleAndNoOtherTakesItsPlace) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    const IHostSource::Reading reading = read({"eth7", "P", "1"});
    EXPECT_EQ(reading.trouble, "the network interface eth7 is not there; the device is told no address of "
                               "this host until it is");
    EXPECT_EQ(reading.facts, (HostFacts{"", "", "", "P", "1"}));
}

TEST_F(SystemHostSourceTest, AHostOfWhichNothingIsKnownHasNoFactsAndNoTrouble) {
    const IHostSource::Reading reading = read();
    EXPECT_EQ(reading.facts, HostFacts{});
    EXPECT_EQ(reading.trouble, "");
}

TEST_F(SystemHostSourceTest, TheProductNameIsTheOneOfTheMachinesFirmware) {
    tree.write("etc/os-release", "NAME=\"A System\"\n");
    EXPECT_EQ(read().facts.productName, "A System");
    tree.write("proc/device-tree/model", std::string("A Board Rev 2\0", 14));
    EXPECT_EQ(read().facts.productName, "A Board Rev 2");
    tree.write("sys/class/dmi/id/product_name", "  A Server  \n");
    EXPECT_EQ(read().facts.productName, "A Server");
}

TEST_F(SystemHostSourceTest, ANameThatTheManufacturerLeftOpenIsNone) {
    tree.write("etc/os-release", "ID=asystem\n");
    for (const char* name : {"To Be Filled By O.E.M.", "System Product Name", "Default string", ""}) {
        tree.write("sys/class/dmi/id/product_name", std::string{name} + "\n");
        EXPECT_EQ(read().facts.productName, "asystem") << name;
    }
}

TEST_F(SystemHostSourceTest, TheFirmwareVersionIsTheOneOfTheImageOrTheOperatingSystem) {
    tree.write("usr/lib/os-release", "BUILD_ID=77\n");
    EXPECT_EQ(read().facts.firmwareVersion, "77");
    tree.write("etc/os-release", "NAME=x\nVERSION=\"12 (a)\"\nVERSION_ID=\"12\"\n");
    EXPECT_EQ(read().facts.firmwareVersion, "12");
    tree.write("etc/os-release", "VERSION_ID=12\nIMAGE_VERSION='3.4 \\'a\\''\n");
    EXPECT_EQ(read().facts.firmwareVersion, "3.4 'a'");
}

TEST_F(SystemHostSourceTest, WhatIsChosenByHandGoesFirst) {
    tree.write("etc/os-release", "NAME=x\nVERSION_ID=12\n");
    const HostFacts facts = read({"", "Rack Controller", "2.0.1"}).facts;
    EXPECT_EQ(facts.productName, "Rack Controller");
    EXPECT_EQ(facts.firmwareVersion, "2.0.1");
}

TEST(SystemHostSourceOfThisMachineTest, AnInterfaceOfThisMachineCanBeChosen) {
    SystemHostSource source{HostSettings{"lo", "P", "1"}};
    const IHostSource::Reading reading = source.read();
    EXPECT_EQ(reading.facts.ipv4Address, "127.0.0.1");
    EXPECT_EQ(reading.facts.productName, "P");
    EXPECT_EQ(reading.trouble, "");
}

TEST(SystemHostSourceOfThisMachineTest, ThisMachineHasTheNameAndVersionOfItsOperatingSystemAtLeast) {
    const HostFacts facts = SystemHostSource{HostSettings{}}.read().facts;
    EXPECT_NE(facts.productName, "");
    EXPECT_NE(facts.firmwareVersion, "");
    EXPECT_NE(facts.ipv4Address, "127.0.0.1");
}

class HostSettingsTest : public ::testing::Test {
protected:
    std::optional<ConfigurationFile> parsed(const std::string& text) {
        tree.write("velk.json", text);
        Findings none;
        return ConfigurationFile::read((tree.path() / "velk.json").string(), none);
    }

    std::vector<std::string> check(const std::string& text) {
        std::vector<std::string> texts;
        const auto file = parsed(text);
        for (const Finding& finding : HostSettings::check(*file)) {
            texts.push_back(finding.text.substr(file->path().size()) +
                            (finding.severity == Finding::Severity::Warning ? " (warning)" : ""));
        }
        return texts;
    }

    using Texts = std::vector<std::string>;
    HostTree tree;
};

TEST_F(HostSettingsTest, MembersAreTaken) {
    const auto file =
        parsed(R"({"host": {"interface": "eth1", "productName": "P", "firmwareVersion": "1.0"}})");
    const HostSettings settings = HostSettings::of(*file);
    EXPECT_EQ(settings.interface, "eth1");
    EXPECT_EQ(settings.productName, "P");
    EXPECT_EQ(settings.firmwareVersion, "1.0");
    EXPECT_EQ(check(R"({"host": {"interface": "eth1", "productName": "P", "firmwareVersion": "1.0"}})"),
              Texts{});
}

TEST_F(HostSettingsTest, NothingIsChosenWithoutTheMember) {
    for (const char* text : {"{}", R"({"host": "eth1"})", R"({"host": {"interface": 5}})"}) {
        EXPECT_EQ(HostSettings::of(*parsed(text)).interface, "") << text;
    }
    EXPECT_EQ(check("{}"), Texts{});
}

TEST_F(HostSettingsTest, WhatIsNotUsableIsFoundWhereItStands) {
    EXPECT_EQ(check(R"({"host": "eth1"})"),
              Texts{":1:10: \"host\": expected an object with interface, productName or firmwareVersion"});
    EXPECT_EQ(check("{\"host\": {\"interface\": 5,\n \"iface\": \"x\", \"interface\": \"y\"}}"),
              (Texts{":1:24: \"interface\": expected a text, not 5",
                     ":2:11: \"iface\" is ignored; expected interface, productName or firmwareVersion "
                     "(warning)",
                     ":2:29: \"interface\" is ignored: the first one counts (warning)"}));
}

} // namespace
} // namespace velk::daemon
