#include "daemon/HostFactsWriter.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/TessAccessor.h"
#include "tests/integration/LifecycleFixture.h"

#include <sstream>

namespace velk::testing {
namespace {

using namespace velk::powerdistribution;
using daemon::HostFacts;

/// A host that a test renames.
class RenamedHost final : public daemon::IHostSource {
public:
    Reading read() override {
        const velk::common::MutexLock lock{mutex};
        return {facts, ""};
    }
    void set(const HostFacts& next) {
        const velk::common::MutexLock lock{mutex};
        facts = next;
    }

private:
    velk::common::Mutex mutex;
    HostFacts facts VELK_GUARDED_BY(mutex){"02:fc:00:00:00:01", "192.0.2.2", "", "Controller", "1.0"};
};

/// From the host through the store into the device.
class HostFactsTest : public LifecycleFixture {
protected:
    FakePoint& serve(EPrivateAction action) { return device->factory->add({ECircuit::Connectivity, action}); }

    static bool wasTold(const FakePoint& point, const std::string& text) {
        return awaitThat([&] {
            const std::vector<Value> written = point.written();
            return !written.empty() && written.back() == Value{text};
        });
    }

    RenamedHost host;
    FakeClock hostClock{FakeClock::Passing::ByHand};
    std::ostringstream errors;
};

TEST_F(HostFactsTest, DeviceIsToldTheFactsAtTheStartAndWhenTheyChange) {
    device->factory->add({ECircuit::Connectivity});
    FakePoint& mac = serve(EPrivateAction::SetMacAddress);
    FakePoint& ipv4 = serve(EPrivateAction::SetIpv4Address);
    FakePoint& ipv6 = serve(EPrivateAction::SetIpv6Address);
    FakePoint& product = serve(EPrivateAction::SetProductName);
    FakePoint& firmware = serve(EPrivateAction::SetFirmwareVersion);
    const daemon::HostFactsWriter writer{[this] { return tessapi::TessAccessor::open("host", storeUrl); },
                                         host, errors, hostClock};
    start();
    ASSERT_TRUE(output.awaitState("MONITOR"));
    EXPECT_TRUE(wasTold(mac, "02:fc:00:00:00:01"));
    EXPECT_TRUE(wasTold(ipv4, "192.0.2.2"));
    EXPECT_TRUE(wasTold(product, "Controller"));
    EXPECT_TRUE(wasTold(firmware, "1.0"));

    // An address that comes into being later is heard of too.
    host.set({"02:fc:00:00:00:01", "192.0.2.9", "2001:db8::1", "Controller", "1.1"});
    hostClock.awaitBlocked(1);
    hostClock.advance(daemon::HostFactsWriter::PERIOD);
    EXPECT_TRUE(wasTold(ipv4, "192.0.2.9"));
    EXPECT_TRUE(wasTold(ipv6, "2001:db8::1"));
    EXPECT_TRUE(wasTold(firmware, "1.1"));
    EXPECT_EQ(errors.str(), "");
    finish();
}

} // namespace
} // namespace velk::testing
