// What goes wrong between the plug-in and the device, as a host sees it.

#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace velk::simulator {
namespace {

using namespace powerdistribution;
using velk::testing::SimulatorHost;

constexpr int GOOD = 2;
constexpr int LOST = 3;
const std::string VOLTAGE = "Inputs.1.Measure.Voltage";
const std::string SWITCH_DELAY = "Outlets.1.Setting.ForcedRebootDuration";

std::string fault(const std::string& members) {
    return R"({"do":"fault","kind":)" + members + "}";
}

class LinkFaultTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(host.find()); }

    /// The link is lost, and nothing that was read before passes for fresh.
    void expectLost() {
        EXPECT_EQ(host.state(), LOST);
        EXPECT_FALSE(host.read(VOLTAGE).hasValue());
        EXPECT_EQ(host.read("CommunicationStatus.State"), Value{std::uint32_t{LOST}});
    }
    void expectGood() {
        EXPECT_EQ(host.state(), GOOD);
        EXPECT_EQ(host.read(VOLTAGE), Value{230.0F});
        EXPECT_EQ(host.read("CommunicationStatus.State"), Value{std::uint32_t{GOOD}});
    }

    SimulatorHost host{R"("device":"ups-3ph","timeoutMs":20)"};
};

TEST_F(LinkFaultTest, LostLinkGivesEmptyValuesAndTakesNoWrites) {
    expectGood();
    const auto voltage = host.wrapper(VOLTAGE);
    EXPECT_TRUE(voltage->read().hasValue());
    host.command(fault(R"("linkLost")"));
    expectLost();
    EXPECT_FALSE(voltage->read().hasValue());
    EXPECT_FALSE(host.write("Setting.HighEfficiencyEnabled", true));
    EXPECT_EQ(host.held("Setting.HighEfficiencyEnabled"), "false");
    host.command(R"({"do":"clear","kind":"linkLost"})");
    expectGood();
    EXPECT_EQ(voltage->read(), Value{230.0F});
}

TEST_F(LinkFaultTest, TimeOfTheLastChangeGoesWithTheState) {
    const auto before = host.protocol->communicationStatus().since;
    host.command(fault(R"("linkLost")"));
    const auto lost = host.protocol->communicationStatus().since;
    EXPECT_GE(lost, before);
    EXPECT_EQ(host.read("CommunicationStatus.Since"), Value{lost});
}

TEST_F(LinkFaultTest, WhoTheDeviceIsAndHowItIsBuiltIsKnownDuringALoss) {
    const Value serial = host.read("Identification.Attribute.SerialNumber");
    const Value count = host.read("Outlets.Attribute.Count");
    ASSERT_TRUE(serial.holds<std::string>());
    ASSERT_TRUE(count.holds<std::uint32_t>());
    host.command(fault(R"("linkLost")"));
    host.command(R"({"do":"identity","serialNumber":"OTHER"})");
    host.command(R"({"do":"counts","Outlets":1})");
    EXPECT_EQ(host.read("Identification.Attribute.SerialNumber"), serial);
    EXPECT_EQ(host.read("Outlets.Attribute.Count"), count);
    host.command(R"({"do":"clear"})");
    EXPECT_EQ(host.read("Identification.Attribute.SerialNumber"), Value{std::string{"OTHER"}});
    EXPECT_EQ(host.read("Outlets.Attribute.Count"), Value{std::uint32_t{1}});
}

TEST_F(LinkFaultTest, SilentDeviceCountsAsLostAfterItsTime) {
    host.command(fault(R"("silent")"));
    EXPECT_EQ(host.state(), GOOD); // nobody has asked it yet
    EXPECT_FALSE(host.read(VOLTAGE).hasValue());
    expectLost();
    host.command(R"({"do":"clear"})");
    expectGood();
}

TEST_F(LinkFaultTest, SilentDeviceIsNotFound) {
    host.command(fault(R"("silent")"));
    host.protocol->disconnect();
    EXPECT_FALSE(host.protocol->discover());
    host.command(R"({"do":"clear"})");
    EXPECT_TRUE(host.protocol->discover());
}

TEST(SlowDeviceTest, EachReadTakesItsTime) {
    SimulatorHost host{R"("device":"ats","faults":[{"kind":"slow","ms":30}])"};
    ASSERT_TRUE(host.find());
    auto& clock = common::Clock::system();
    const auto before = clock.now();
    EXPECT_TRUE(host.read(VOLTAGE).hasValue());
    EXPECT_TRUE(host.read(VOLTAGE).hasValue());
    EXPECT_GE(clock.now() - before, std::chrono::milliseconds{60});
    EXPECT_EQ(host.state(), GOOD);
}

TEST(SlowDeviceTest, SlowReadsDoNotHoldEachOtherUpNorTheTester) {
    SimulatorHost host{R"("device":"ats")"};
    ASSERT_TRUE(host.find());
    host.command(fault(R"("slow","ms":3600000)"));
    std::atomic<int> done{0};
    std::vector<std::thread> readers;
    for (int count = 0; count < 8; ++count) {
        readers.emplace_back([&] {
            EXPECT_TRUE(host.read(VOLTAGE).hasValue());
            ++done;
        });
    }
    host.command(R"({"do":"mains","state":"sag"})"); // answered although eight readers wait
    EXPECT_EQ(done, 0);
    host.command(R"({"do":"clear","kind":"slow"})"); // ends every wait
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(done, 8);
}

TEST(SlowDeviceTest, DisconnectEndsTheWaitOfAReader) {
    SimulatorHost host{R"("device":"ats","timeoutMs":60000)"};
    ASSERT_TRUE(host.find());
    host.command(fault(R"("silent")"));
    std::thread reader{[&] { EXPECT_FALSE(host.read(VOLTAGE).hasValue()); }};
    host.protocol->disconnect();
    reader.join();
    EXPECT_EQ(host.state(), LOST);
}

TEST(SlowDeviceTest, StopEndsTheWaitOfAReader) {
    SimulatorHost host{R"("device":"ats")"};
    ASSERT_TRUE(host.find());
    host.command(fault(R"("slow","ms":3600000)"));
    std::thread reader{[&] { EXPECT_FALSE(host.read(VOLTAGE).hasValue()); }};
    host.protocol->stop();
    reader.join();
}

TEST_F(LinkFaultTest, FlappingLinkComesAndGoesWithTheSimulatedTime) {
    host.command(fault(R"("flapping","ms":500)"));
    expectLost();
    host.advance(0.4);
    expectLost();
    host.advance(0.1);
    expectGood();
    host.advance(0.5);
    expectLost();
    host.advance(0.5);
    expectGood();
    host.advance(0.5);
    expectLost();
    host.command(R"({"do":"clear"})");
    expectGood();
}

TEST_F(LinkFaultTest, DisconnectedDeviceIsLostUntilItIsFoundAgain) {
    host.protocol->disconnect();
    expectLost();
    ASSERT_TRUE(host.protocol->discover());
    expectGood();
}

TEST_F(LinkFaultTest, NoDeviceIsFoundWhileItIsNotThere) {
    host.command(fault(R"("notFound")"));
    host.protocol->disconnect();
    EXPECT_FALSE(host.protocol->discover());
    EXPECT_EQ(host.state(), LOST);
    host.command(R"({"do":"clear"})");
    EXPECT_TRUE(host.protocol->discover());
}

TEST_F(LinkFaultTest, RefusedWritesChangeNothing) {
    host.command(fault(R"("refuseWrites")"));
    EXPECT_FALSE(host.write("Setting.HighEfficiencyEnabled", true));
    EXPECT_EQ(host.read("Setting.HighEfficiencyEnabled"), Value{false});
    expectGood();
    host.command(R"({"do":"clear"})");
    EXPECT_TRUE(host.write("Setting.HighEfficiencyEnabled", true));
    EXPECT_EQ(host.read("Setting.HighEfficiencyEnabled"), Value{true}); // at once
}

TEST_F(LinkFaultTest, DeviceWithoutIdentitySaysNothingOfItself) {
    host.command(fault(R"("noIdentity")"));
    for (const std::string attribute : {"Uuid", "SerialNumber", "Manufacturer", "ProductName"}) {
        EXPECT_FALSE(host.read("Identification.Attribute." + attribute).hasValue()) << attribute;
    }
    EXPECT_TRUE(host.read("Identification.Attribute.FirmwareVersion").hasValue());
    expectGood();
}

TEST_F(LinkFaultTest, BootloaderKnowsItsMakerAndItsFirmwareOnly) {
    EXPECT_EQ(host.read("Status.BootloaderMode"), Value{false});
    host.command(fault(R"("bootloader")"));
    EXPECT_EQ(host.read("Status.BootloaderMode"), Value{true});
    EXPECT_EQ(host.read("Identification.Attribute.ProductName"), Value{std::string{"UPS BOOTLOADER"}});
    EXPECT_TRUE(host.read("Identification.Attribute.Manufacturer").hasValue());
    EXPECT_TRUE(host.read("Identification.Attribute.FirmwareVersion").hasValue());
    EXPECT_FALSE(host.read("Identification.Attribute.SerialNumber").hasValue());
    EXPECT_FALSE(host.read("Identification.Attribute.Uuid").hasValue());
    EXPECT_FALSE(host.read(VOLTAGE).hasValue());
    EXPECT_FALSE(host.write("Setting.HighEfficiencyEnabled", true));
    EXPECT_EQ(host.state(), GOOD);
    host.command(R"({"do":"clear"})");
    EXPECT_EQ(host.read("Status.BootloaderMode"), Value{false});
    expectGood();
}

TEST(BootloaderTest, OtherDevicesThanUpsHaveAnotherName) {
    SimulatorHost host{R"("device":"ats","faults":[{"kind":"bootloader"}])"};
    ASSERT_TRUE(host.find());
    EXPECT_EQ(host.read("Identification.Attribute.ProductName"), Value{std::string{"BOOTLOADER"}});
}

TEST_F(LinkFaultTest, ThresholdOfAnAlarmKeepsItsValueDuringALoss) {
    const std::string threshold = "BackupSystem.PowerBank.Setting.LowStateOfChargeThreshold";
    const Value before = host.read(threshold);
    ASSERT_TRUE(before.holds<float>());
    host.command(fault(R"("linkLost")"));
    EXPECT_EQ(host.read(threshold), before);
}

TEST_F(LinkFaultTest, ThresholdWithoutValueIsNotServed) {
    host.command(fault(R"("bootloader")"));
    ASSERT_TRUE(host.find());
    EXPECT_FALSE(host.wrapper("BackupSystem.PowerBank.Setting.LowStateOfChargeThreshold"));
}

TEST_F(LinkFaultTest, LogIsReadFromTheNumberWritten) {
    host.command(R"({"do":"log","restart":true})");
    host.command(R"({"do":"log","add":20})");
    EXPECT_EQ(host.read("Private.InternalLogs.Private.LogTopId"), Value{std::uint32_t{20}});
    const auto chunk = host.wrapper("Private.InternalLogs.Private.LogChunk");
    ASSERT_TRUE(chunk->write(std::uint32_t{18}));
    const auto entries = chunk->read().get<InternalLogChunk>().entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries.front().id, 19U);
    EXPECT_FALSE(chunk->write(std::string{"18"}));
    host.command(fault(R"("linkLost")"));
    EXPECT_FALSE(chunk->read().hasValue());
}

TEST_F(LinkFaultTest, WrappedLogHasLostWhatWasNotRead) {
    host.command(R"({"do":"log","add":3})");
    host.command(R"({"do":"log","wrap":true})");
    const auto chunk = host.wrapper("Private.InternalLogs.Private.LogChunk");
    const auto entries = chunk->read().get<InternalLogChunk>().entries();
    ASSERT_FALSE(entries.empty());
    EXPECT_GT(entries.front().id, 1U);
}

TEST_F(LinkFaultTest, FewerItemsAreServedWhenTheDeviceIsFoundAgain) {
    ASSERT_TRUE(host.wrapper("Outlets.3.Status.Supply"));
    host.command(R"({"do":"counts","Outlets":2})");
    EXPECT_EQ(host.read("Outlets.Attribute.Count"), Value{std::uint32_t{2}});
    ASSERT_TRUE(host.find());
    EXPECT_TRUE(host.wrapper("Outlets.2.Status.Supply"));
    EXPECT_FALSE(host.wrapper("Outlets.3.Status.Supply"));
}

} // namespace
} // namespace velk::simulator
