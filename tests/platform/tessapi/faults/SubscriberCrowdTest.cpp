#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/Faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessapi::faults {
namespace {

/// Three hundred subscribers of one channel: a third throws, a third unsubscribes itself and a neighbour
/// while it is called, a third only counts.
TEST(SubscriberCrowdTest, SubscribersThatThrowOrEndOthersKeepNoneOfTheRestFromAnyWrite) {
    constexpr std::uint32_t SUBSCRIBERS = 300;
    constexpr std::uint32_t WRITES = 40;
    const velk::testing::TemporaryDirectory folder{scratch()};
    const auto store = TessAccessor::open("test", "sqlite:" + (folder / "tess.db").string());
    auto& channels = store->inbandAccessor();
    const auto channel = channels.emplaceChannel(1, "PowerDistribution.Status.Source", false);
    std::vector<std::uint64_t> ids(SUBSCRIBERS);
    std::vector<std::uint32_t> last(SUBSCRIBERS, 0); // of the client thread, until the last write is seen
    std::vector<std::uint32_t> calls(SUBSCRIBERS, 0);
    std::atomic<bool> done{false};
    ::testing::internal::CaptureStderr();
    for (std::uint32_t number = 0; number < SUBSCRIBERS; ++number) {
        const auto callback = [&, number](std::uint64_t, const qz::CValue& value) {
            EXPECT_EQ(value.as_uint32(), last[number] + 1) << "subscriber " << number;
            last[number] = value.as_uint32();
            ++calls[number];
            if (number % 3 == 1) {
                channels.unsubscribe(ids[number]);
                channels.unsubscribe(ids[number - 1]); // it threw before
            }
            if (number == SUBSCRIBERS - 1 && last[number] == WRITES) {
                done = true;
                done.notify_all();
            }
            if (number % 3 == 0) {
                throw std::runtime_error{"of no use"};
            }
        };
        channels.subscribeMultipleChannels({channel}, callback, qz::sub::everyWrite, &ids[number]);
    }
    for (std::uint32_t write = 1; write <= WRITES; ++write) {
        channels.setChannelCValue(channel, qz::CValue{write});
    }
    done.wait(false);
    const auto said = ::testing::internal::GetCapturedStderr();
    for (std::uint32_t number = 0; number < SUBSCRIBERS; ++number) {
        EXPECT_EQ(calls[number], number % 3 == 2 ? WRITES : 1) << "subscriber " << number;
    }
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), SUBSCRIBERS / 3) << said;
}

} // namespace
} // namespace tessapi::faults
