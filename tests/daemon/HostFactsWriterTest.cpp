#include "daemon/HostFactsWriter.h"

#include "daemon/SystemHostSource.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/FakeClock.h"
#include "testing/FakeTessAccessor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace velk::daemon {
namespace {

using tessapi::DeviceAttribute;
using velk::common::MutexLock;

/// Facts that a test changes.
class FakeHost final : public IHostSource {
public:
    Reading read() override {
        const MutexLock lock{mutex};
        ++reads;
        if (broken) {
            throw std::runtime_error{"no facts"};
        }
        return reading;
    }

    void set(const HostFacts& facts, const std::string& trouble = "") {
        const MutexLock lock{mutex};
        reading = {facts, trouble};
    }

    velk::common::Mutex mutex;
    Reading reading VELK_GUARDED_BY(mutex){{"mac", "four", "six", "Product", "1.0"}, ""};
    bool broken VELK_GUARDED_BY(mutex){false};
    int reads VELK_GUARDED_BY(mutex){0};
};

class HostFactsWriterTest : public ::testing::Test {
protected:
    std::unique_ptr<tessapi::ITessAccessor> open() {
        if (brokenStore) {
            throw std::runtime_error{"no store"};
        }
        return tessapi::TessAccessor::open("daemon", url);
    }

    void start() {
        writer = std::make_unique<HostFactsWriter>([this] { return open(); }, host, errors, clock);
    }

    /// Until the facts have been read again and written.
    void passPeriod() {
        clock.awaitBlocked(1);
        clock.advance(HostFactsWriter::PERIOD);
        clock.awaitBlocked(1);
    }

    std::string channel(const char* name) const {
        return inband.getChannelCValue(inband.getCatchedChannelId(1, name)).as_string();
    }
    std::string attribute(DeviceAttribute which) const { return inband.getDeviceAttribute(1, which); }

    const std::string url{"memory:host-facts"};
    const std::unique_ptr<tessapi::TessAccessor> store{tessapi::TessAccessor::open("test", url)};
    tessapi::InBandAccessor& inband{store->inbandAccessor()};
    velk::testing::FakeClock clock{velk::testing::FakeClock::Passing::ByHand};
    FakeHost host;
    std::ostringstream errors;
    std::atomic<bool> brokenStore{false};
    std::unique_ptr<HostFactsWriter> writer;
};

TEST_F(HostFactsWriterTest, FactsStandInTheStoreAtTheStart) {
    start();
    EXPECT_EQ(channel("System.Ethernet.MacAddress"), "mac");
    EXPECT_EQ(channel("System.Ethernet.CurrentIpv4Address"), "four");
    EXPECT_EQ(channel("System.Ethernet.CurrentIpv6Address"), "six");
    EXPECT_EQ(attribute(DeviceAttribute::productName), "Product");
    EXPECT_EQ(attribute(DeviceAttribute::firmwareVersion), "1.0");
    EXPECT_EQ(errors.str(), "");
}

TEST_F(HostFactsWriterTest, ChannelsExistWithoutAnAddress) {
    host.set({});
    start();
    for (const char* name : {"System.Ethernet.MacAddress", "System.Ethernet.CurrentIpv4Address",
                             "System.Ethernet.CurrentIpv6Address"}) {
        const std::uint64_t id = inband.getCatchedChannelId(1, name);
        EXPECT_NE(id, tessapi::ITessAccessor::UNKNOWN_ID) << name;
        EXPECT_FALSE(inband.isChannelValueInitialized(id)) << name;
    }
}

TEST_F(HostFactsWriterTest, AnAddressThatIsGoneIsTakenAway) {
    start();
    host.set({"mac", "", "", "Product", "1.0"});
    passPeriod();
    EXPECT_EQ(channel("System.Ethernet.CurrentIpv4Address"), "");
    EXPECT_EQ(channel("System.Ethernet.CurrentIpv6Address"), "");
    EXPECT_EQ(channel("System.Ethernet.MacAddress"), "mac");
}

TEST_F(HostFactsWriterTest, AChangeReachesTheStoreWithinAPeriod) {
    start();
    host.set({"mac", "other four", "six", "Product", "2.0"});
    clock.awaitBlocked(1);
    clock.advance(HostFactsWriter::PERIOD - std::chrono::milliseconds{1});
    EXPECT_EQ(channel("System.Ethernet.CurrentIpv4Address"), "four");
    clock.advance(std::chrono::milliseconds{1});
    clock.awaitBlocked(1);
    EXPECT_EQ(channel("System.Ethernet.CurrentIpv4Address"), "other four");
    EXPECT_EQ(attribute(DeviceAttribute::firmwareVersion), "2.0");
}

TEST_F(HostFactsWriterTest, OnlyWhatTheStoreHasOtherwiseIsWritten) {
    auto fake = std::make_unique<velk::testing::FakeTessAccessor>();
    velk::testing::FakeTessAccessor& seen = *fake;
    velk::testing::FakeInBandAccessor& fakeInBand = seen.inbandAccessor();
    fakeInBand.setValue(fakeInBand.addChannel(1, "System.Ethernet.MacAddress"), qz::CValue{"mac"});
    fakeInBand.setAttribute(1, DeviceAttribute::productName, "Product");
    const auto writes = [&seen] { return seen.calls("set").size(); };
    writer = std::make_unique<HostFactsWriter>([&fake] { return std::move(fake); }, host, errors, clock);
    EXPECT_EQ(writes(), 3U); // both addresses and the version
    passPeriod();
    EXPECT_EQ(writes(), 3U);
    host.set({"mac", "four", "other six", "Product", "1.0"});
    passPeriod();
    EXPECT_EQ(writes(), 4U);
    EXPECT_EQ(errors.str(), "");
}

TEST_F(HostFactsWriterTest, AnInterfaceThatIsNotThereIsSaidOnceUntilItWasThere) {
    host.set({}, "eth7 is not there");
    start();
    passPeriod();
    EXPECT_EQ(errors.str(), "powerdistributiond: eth7 is not there\n");
    host.set({"mac", "", "", "", ""});
    passPeriod();
    EXPECT_EQ(errors.str(), "powerdistributiond: eth7 is not there\n");
    EXPECT_EQ(channel("System.Ethernet.MacAddress"), "mac");
    host.set({}, "eth7 is not there");
    passPeriod();
    writer.reset();
    EXPECT_EQ(errors.str(), "powerdistributiond: eth7 is not there\npowerdistributiond: eth7 is not there\n");
}

TEST_F(HostFactsWriterTest, AStoreThatFailsIsToldAgainAndTheFailureReportedOnce) {
    brokenStore = true;
    start();
    passPeriod();
    const std::string told = "powerdistributiond: the facts of this host cannot be noted in the store: no "
                             "store; the device will not hear of them until they can\n";
    EXPECT_EQ(errors.str(), told);
    EXPECT_EQ(channel("System.Ethernet.MacAddress"), "");
    brokenStore = false;
    passPeriod();
    writer.reset();
    EXPECT_EQ(channel("System.Ethernet.MacAddress"), "mac");
    EXPECT_EQ(errors.str(), told);
}

TEST_F(HostFactsWriterTest, ASourceThatFailsIsSaidOnceAndLeavesTheStoreOpen) {
    int opened = 0;
    const auto breakSource = [this](bool broken) {
        const MutexLock lock{host.mutex};
        host.broken = broken;
    };
    writer = std::make_unique<HostFactsWriter>(
        [this, &opened] {
            ++opened;
            return open();
        },
        host, errors, clock);
    breakSource(true);
    passPeriod();
    passPeriod();
    breakSource(false);
    host.set({"other mac", "", "", "", ""});
    passPeriod();
    writer.reset();
    EXPECT_EQ(errors.str(), "powerdistributiond: the facts of this host cannot be read: no facts\n");
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(channel("System.Ethernet.MacAddress"), "other mac");
}

TEST_F(HostFactsWriterTest, TheEndWaitsForNoPeriod) {
    start();
    clock.awaitBlocked(1);
    writer.reset();
    const MutexLock lock{host.mutex};
    EXPECT_EQ(host.reads, 1);
}

TEST_F(HostFactsWriterTest, TheFactsOfThisMachineComeIntoTheStore) {
    SystemHostSource machine{HostSettings{"lo", "", "7"}};
    const HostFactsWriter real{[this] { return open(); }, machine, errors, clock};
    EXPECT_EQ(channel("System.Ethernet.CurrentIpv4Address"), "127.0.0.1");
    EXPECT_NE(attribute(DeviceAttribute::productName), "");
    EXPECT_EQ(attribute(DeviceAttribute::firmwareVersion), "7");
}

} // namespace
} // namespace velk::daemon
