#include "daemon/NetworkInterfaces.h"

#include "testing/TemporaryDirectory.h"
#include "tests/daemon/HostTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velk::daemon {
namespace {

using ::testing::ElementsAre;

class NetworkInterfacesTest : public ::testing::Test {
protected:
    std::vector<NetworkInterface> read() { return tree.interfaces(); }

    std::string main() {
        const std::vector<NetworkInterface> interfaces = read();
        const NetworkInterface* chosen = mainInterface(interfaces);
        return chosen == nullptr ? "none" : chosen->name;
    }

    std::string ipv6(const std::string& name) {
        for (const NetworkInterface& each : read()) {
            if (each.name == name) {
                return each.ipv6Address;
            }
        }
        return "no such interface";
    }

    HostTree tree;
};

TEST_F(NetworkInterfacesTest, InterfacesAreReadWithAllThatIsKnownOfThem) {
    tree.addLoopback();
    tree.addInterface("eth0", 4, "02:fc:00:00:00:01", "192.0.2.2");
    tree.addIpv6("fd000000000000000000000000000002", "eth0");
    tree.addIpv4Route("eth0", 100);
    tree.addIpv6Route("eth0", 0x400);
    const std::vector<NetworkInterface> found = read();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].name, "lo");
    EXPECT_TRUE(found[0].loopback);
    EXPECT_EQ(found[0].macAddress, "");
    EXPECT_EQ(found[1].name, "eth0");
    EXPECT_EQ(found[1].index, 4U);
    EXPECT_TRUE(found[1].up);
    EXPECT_FALSE(found[1].loopback);
    EXPECT_EQ(found[1].macAddress, "02:fc:00:00:00:01");
    EXPECT_EQ(found[1].ipv4Address, "192.0.2.2");
    EXPECT_EQ(found[1].ipv6Address, "fd00::2");
    EXPECT_EQ(found[1].ipv4Metric, 100U);
    EXPECT_EQ(found[1].ipv6Metric, 0x400U);
}

TEST_F(NetworkInterfacesTest, AHostOfWhichNothingCanBeReadHasNoInterfaces) {
    EXPECT_TRUE(read().empty());
    EXPECT_EQ(main(), "none");
}

TEST_F(NetworkInterfacesTest, APlainFileAmongTheInterfacesIsNone) {
    tree.write("sys/class/net/bonding_masters", "");
    EXPECT_TRUE(read().empty());
}

TEST_F(NetworkInterfacesTest, ALoopbackInterfaceIsNotTheHostsAddress) {
    tree.addLoopback();
    tree.addIpv4Route("lo", 0);
    EXPECT_EQ(main(), "none");
}

TEST_F(NetworkInterfacesTest, TheDefaultRouteChoosesTheInterface) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    tree.addInterface("eth1", 3, "02:00:00:00:00:02", "198.51.100.1");
    EXPECT_EQ(main(), "eth0");
    tree.addIpv4Route("eth1", 100);
    EXPECT_EQ(main(), "eth1");
}

TEST_F(NetworkInterfacesTest, OfSeveralDefaultRoutesTheSmallestMetricCounts) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    tree.addInterface("wlan0", 3, "02:00:00:00:00:02", "198.51.100.1");
    tree.addIpv4Route("eth0", 600);
    tree.addIpv4Route("wlan0", 700);
    EXPECT_EQ(main(), "eth0");
    tree.addIpv4Route("wlan0", 50);
    EXPECT_EQ(main(), "wlan0");
}

TEST_F(NetworkInterfacesTest, OfEqualMetricsTheInterfaceOfTheSmallerNumberCounts) {
    tree.addInterface("eth1", 3, "02:00:00:00:00:02", "198.51.100.1");
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    tree.addIpv4Route("eth1", 100);
    tree.addIpv4Route("eth0", 100);
    EXPECT_EQ(main(), "eth0");
}

TEST_F(NetworkInterfacesTest, AnIpv6RouteCountsWhereNoIpv4RouteIs) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    tree.addInterface("eth1", 3, "02:00:00:00:00:02", "");
    tree.addInterface("eth2", 4, "02:00:00:00:00:03", "");
    tree.addIpv6Route("eth1", 0x400);
    EXPECT_EQ(main(), "eth1");
    tree.addIpv4Route("eth2", 9000);
    EXPECT_EQ(main(), "eth2");
}

TEST_F(NetworkInterfacesTest, ARouteThatIsNoDefaultOrRefusesOrIsDownDoesNotCount) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1");
    tree.addInterface("eth1", 3, "02:00:00:00:00:02", "198.51.100.1");
    tree.write("proc/net/route", "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n"
                                 "eth1\t006433C6\t00000000\t0001\t0\t0\t0\t00FFFFFF\n"
                                 "eth1\t00000000\t00000000\t0201\t0\t0\t0\t00000000\n"
                                 "eth1\t00000000\t00000000\t0000\t0\t0\t0\t00000000\n"
                                 "eth1\tcut off\n");
    tree.write("proc/net/ipv6_route", std::string(32, '0') + " 00 " + std::string(32, '0') + " 00 " +
                                          std::string(32, '0') +
                                          " ffffffff 00000001 00000000 00200200 eth1\n");
    EXPECT_EQ(main(), "eth0");
}

TEST_F(NetworkInterfacesTest, WithoutRoutesTheFirstThatOthersCanReachCounts) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "");
    tree.addInterface("eth1", 3, "02:00:00:00:00:02", "169.254.7.7");
    tree.addInterface("eth2", 4, "02:00:00:00:00:03", "");
    tree.addIpv6("fe800000000000000000000000000001", "eth0");
    EXPECT_EQ(main(), "eth0");
    tree.addIpv6("20010db8000000000000000000000001", "eth2");
    EXPECT_EQ(main(), "eth2");
}

TEST_F(NetworkInterfacesTest, AnInterfaceThatIsDownIsNotTheHostsAddress) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "192.0.2.1", "0x1002");
    EXPECT_EQ(main(), "none");
    tree.addInterface("eth1", 3, "02:00:00:00:00:02", "");
    EXPECT_EQ(main(), "eth1");
}

TEST_F(NetworkInterfacesTest, AddressesReachableFromFartherAwayGoFirst) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "");
    tree.addIpv6("fe800000000000000000000000000001", "eth0");
    EXPECT_EQ(ipv6("eth0"), "fe80::1");
    tree.addIpv6("fd000000000000000000000000000001", "eth0");
    EXPECT_EQ(ipv6("eth0"), "fd00::1");
    tree.addIpv6("20010db8000000000000000000000009", "eth0");
    EXPECT_EQ(ipv6("eth0"), "2001:db8::9");
}

TEST_F(NetworkInterfacesTest, LastingAddressesGoFirstAndThenTheSmallestNumber) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "");
    tree.addIpv6("20010db8000000000000000000000001", "eth0", 0x20); // about to expire
    EXPECT_EQ(ipv6("eth0"), "2001:db8::1");
    tree.addIpv6("20010db8000000000000000000000002", "eth0", 0x01); // made up for privacy
    EXPECT_EQ(ipv6("eth0"), "2001:db8::2");
    tree.addIpv6("20010db8000000000000000000000004", "eth0", 0x80);
    EXPECT_EQ(ipv6("eth0"), "2001:db8::4");
    tree.addIpv6("20010db8000000000000000000000003", "eth0", 0x80);
    EXPECT_EQ(ipv6("eth0"), "2001:db8::3");
}

TEST_F(NetworkInterfacesTest, AddressesThatMayBeSomebodyElsesDoNotCount) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "");
    tree.addIpv6("20010db8000000000000000000000001", "eth0", 0x40);
    tree.addIpv6("20010db8000000000000000000000002", "eth0", 0x08);
    tree.addIpv6("20010db8000000000000000000000003", "eth1");
    EXPECT_EQ(ipv6("eth0"), "");
}

TEST_F(NetworkInterfacesTest, LinesThatAreNoneArePassedOver) {
    tree.addInterface("eth0", 2, "02:00:00:00:00:01", "");
    tree.write("proc/net/if_inet6", "xyz 02 40 00 80 eth0\n"
                                    "20010db80000000000000000000000zz 02 40 00 80 eth0\n"
                                    "20010db8000000000000000000000001 02\n\n"
                                    "20010db8000000000000000000000002 02 40 00 zz eth0\n");
    EXPECT_EQ(ipv6("eth0"), "");
}

TEST(NetworkInterfacesOfThisMachineTest, TheLoopbackInterfaceIsThereWithItsAddress) {
    const std::vector<NetworkInterface> interfaces = readNetworkInterfaces("/");
    std::vector<std::string> loopbacks;
    for (const NetworkInterface& each : interfaces) {
        if (each.loopback) {
            loopbacks.push_back(each.name + " " + each.ipv4Address);
        }
    }
    EXPECT_THAT(loopbacks, ElementsAre("lo 127.0.0.1"));
    EXPECT_EQ(ipv4AddressOf("no-such-if0"), "");
    EXPECT_EQ(ipv4AddressOf("a-name-that-is-too-long-for-an-interface"), "");
}

} // namespace
} // namespace velk::daemon
