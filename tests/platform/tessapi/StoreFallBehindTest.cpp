#include "tests/platform/tessapi/StoreTest.h"

#include <algorithm>

namespace tessapi::contract {
namespace {

using qz::CValue;

/// A subscriber that is busy for longer than the store keeps its changes.
class StoreFallBehindTest : public StoreTest {
protected:
    /// More writes than any engine keeps.
    static constexpr std::uint32_t FLOOD = 80000; // a multiple of 100

    void SetUp() override {
        const std::uint64_t device = client().device("device");
        flooded = client().channel(device, names::UINT32);
        early = client().channel(device, names::LABELLED);
        delivered = client().channel(device, names::INT32);
        untouched = client().channel(device, names::STRING);
    }

    /// Holds the subscriber, writes one value to `early` and then the numbers up to FLOOD, and lets go.
    void fallBehind() {
        const Gate gate = client().block();
        client().set(early, 5u);
        std::vector<std::pair<std::uint64_t, CValue>> group; // some at a time: every engine has to write them
        for (std::uint32_t number = 1; number <= FLOOD; ++number) {
            group.emplace_back(flooded, number);
            if (group.size() == 100) {
                client().channels().setChannelCValues(group);
                group.clear();
            }
        }
        gate.open();
        client().settle();
    }

    static std::vector<CValue> valuesOfChannel(const std::vector<Write>& writes, std::uint64_t channel) {
        std::vector<CValue> values;
        for (const Write& write : writes) {
            if (write.first == channel) {
                values.push_back(write.second);
            }
        }
        return values;
    }

    std::uint64_t flooded{UNKNOWN_ID};
    std::uint64_t early{UNKNOWN_ID};
    std::uint64_t delivered{UNKNOWN_ID};
    std::uint64_t untouched{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreFallBehindTest);

TEST_P(StoreFallBehindTest, IsBroughtUpToDateOnceAndNothingIsDeliveredTwice) {
    client().set(untouched, "before the subscription");
    const auto writes = client().watch({flooded, early, delivered, untouched});
    const auto changes = client().watch({flooded}, qz::sub::changes);
    client().set(delivered, std::int32_t{7});
    client().settle();
    ::testing::internal::CaptureStderr();
    fallBehind();
    const std::string said = ::testing::internal::GetCapturedStderr();
    const auto told = writes.all();

    EXPECT_EQ(valuesOfChannel(told, delivered), (std::vector<CValue>{CValue{std::int32_t{7}}}));
    EXPECT_TRUE(valuesOfChannel(told, untouched).empty());
    EXPECT_EQ(valuesOfChannel(told, early), (std::vector<CValue>{CValue{5u}}));
    const auto flood = valuesOfChannel(told, flooded);
    ASSERT_FALSE(flood.empty());
    EXPECT_EQ(flood.back(), CValue{FLOOD});
    const auto notRising = [](const CValue& a, const CValue& b) { return a.as_uint32() >= b.as_uint32(); };
    EXPECT_EQ(std::adjacent_find(flood.begin(), flood.end(), notRising), flood.end())
        << "each write once, in order";
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), flood.size() == FLOOD ? 0 : 1) << said;
    EXPECT_EQ(valuesOf(changes.all()), (std::vector<CValue>{CValue{FLOOD}}));
}

TEST_P(StoreFallBehindTest, EveryWriteAfterwardsIsDeliveredAgain) {
    const auto writes = client().watch({flooded});
    ::testing::internal::CaptureStderr();
    fallBehind();
    ::testing::internal::GetCapturedStderr();
    const std::size_t before = writes.all().size();
    for (int round = 0; round < 3; ++round) {
        client().set(flooded, 1u);
    }
    client().settle();
    const auto told = valuesOf(writes.all());
    EXPECT_EQ((std::vector<CValue>{told.begin() + static_cast<std::ptrdiff_t>(before), told.end()}),
              std::vector<CValue>(3, CValue{1u}));
}

} // namespace
} // namespace tessapi::contract
