#include "platform/common/AddressLookup.h"

#include <gtest/gtest.h>

#include <chrono>
#include <netdb.h>
#include <netinet/in.h>

namespace velk::common {
namespace {

constexpr Clock::Duration LONG_ENOUGH = std::chrono::seconds{30};

TEST(AddressLookupTest, AddressIsFoundWithoutAResolverAndThusWithoutTime) {
    for (const char* host : {"127.0.0.1", "::1"}) {
        const AddressLookup lookup{host, 6379, Clock::Duration::zero()};
        EXPECT_EQ(lookup.failure(), "");
        ASSERT_NE(lookup.first(), nullptr);
        EXPECT_EQ(lookup.first()->ai_socktype, SOCK_STREAM);
    }
}

TEST(AddressLookupTest, PortComesWithTheAddress) {
    const AddressLookup lookup{"127.0.0.1", 6379, Clock::Duration::zero()};
    ASSERT_NE(lookup.first(), nullptr);
    const auto* address = reinterpret_cast<const sockaddr_in*>(lookup.first()->ai_addr);
    EXPECT_EQ(ntohs(address->sin_port), 6379);
    EXPECT_EQ(ntohl(address->sin_addr.s_addr), INADDR_LOOPBACK);
}

TEST(AddressLookupTest, HostWithoutAnAddressIsNamed) {
    // No name is that long, which the resolver knows without asking anybody.
    const std::string host(300, 'x');
    const AddressLookup lookup{host, 6379, LONG_ENOUGH};
    EXPECT_EQ(lookup.failure().rfind("the address of " + host + " was not found: ", 0), 0U)
        << lookup.failure();
    EXPECT_EQ(lookup.first(), nullptr);
}

TEST(AddressLookupTest, TimeBelowNothingIsNone) {
    const AddressLookup lookup{std::string(300, 'x'), 6379, -LONG_ENOUGH};
    EXPECT_NE(lookup.failure(), "");
}

} // namespace
} // namespace velk::common
