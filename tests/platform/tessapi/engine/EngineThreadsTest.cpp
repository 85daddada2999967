#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/client/InBandClient.h"
#include "platform/tessapi/engine/Engine.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/Recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using qz::CValue;
using tessapi::contract::Recorder;
using velk::common::Uuid;

const std::string COUNTER{"PowerDistribution.Status.Source"};

/// Threads of one program that share an engine, and engines that share a store.
class EngineThreadsTest : public ::testing::TestWithParam<std::string> {
protected:
    std::string url() const {
        return GetParam() + ":" + (GetParam() == "memory" ? "" : (folder.path().string() + "/")) + "threads";
    }

    std::shared_ptr<tessapi::Engine> open() const {
        tessapi::Engine::Options patient;
        patient.longestWait = std::chrono::milliseconds{30'000};
        return tessapi::Engine::open(tessapi::StoreUrl{url()}, true, patient);
    }

    const velk::testing::TemporaryDirectory folder;
};

INSTANTIATE_TEST_SUITE_P(Engines, EngineThreadsTest, ::testing::Values("sqlite", "memory"),
                         [](const auto& engine) { return engine.param; });

TEST_P(EngineThreadsTest, EveryListenerGetsEveryWriteOfEveryThreadInOrder) {
    constexpr std::uint32_t WRITES = 300;
    const auto one = open();
    const auto other = open();
    tessapi::Dispatcher dispatcher{"listener", other};
    tessapi::InBandClient listener{*other, dispatcher};
    std::vector<std::uint64_t> ids;
    std::vector<Recorder<std::uint32_t>> seen(3);
    for (std::size_t number = 0; number < seen.size(); ++number) {
        const auto device = one->emplaceDevice(Uuid{Uuid::VELK_NAMESPACE, std::to_string(number)}, 1, 0);
        ids.push_back(one->emplaceChannel(device, COUNTER));
        listener.subscribeMultipleChannels(
            {ids.back()}, [log = seen[number]](auto, const CValue& value) { log.add(value.as_uint32()); },
            qz::sub::everyWrite, nullptr);
    }
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < ids.size(); ++number) {
        threads.emplace_back([&, number] {
            const auto& engine = number == 0 ? other : one;
            for (std::uint32_t count = 1; count <= WRITES; ++count) {
                engine->setValue(ids[number], CValue{count});
                EXPECT_EQ(engine->valueOf(ids[number]), CValue{count});
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    std::vector<std::uint32_t> all;
    for (std::uint32_t count = 1; count <= WRITES; ++count) {
        all.push_back(count);
    }
    for (const auto& log : seen) {
        EXPECT_EQ(log.waitFor(WRITES), all);
    }
}

TEST_P(EngineThreadsTest, SubscribingWhileOthersWriteMissesNothingAfterTheStart) {
    constexpr std::uint32_t WRITES = 300;
    const auto engine = open();
    tessapi::Dispatcher dispatcher{"listener", engine};
    tessapi::InBandClient client{*engine, dispatcher};
    const auto channel = engine->emplaceChannel(1, COUNTER);
    std::thread writer{[&] {
        for (std::uint32_t count = 1; count <= WRITES; ++count) {
            engine->setValue(channel, CValue{count});
        }
    }};
    std::vector<Recorder<std::uint32_t>> logs(20);
    std::vector<std::uint32_t> before;
    for (auto& log : logs) {
        std::uint64_t subscription = 0;
        client.subscribeMultipleChannels(
            {channel}, [log](auto, const CValue& value) { log.add(value.as_uint32()); }, qz::sub::everyWrite,
            &subscription);
        before.push_back(engine->valueOf(channel).as_uint32());
    }
    writer.join();
    engine->setValue(channel, CValue{WRITES + 1});
    for (std::size_t number = 0; number < logs.size(); ++number) {
        const auto seen = logs[number].waitForItem(WRITES + 1);
        ASSERT_FALSE(seen.empty());
        EXPECT_LE(seen.front(), before[number] + 1);
        for (std::size_t place = 1; place < seen.size(); ++place) {
            EXPECT_EQ(seen[place], seen[place - 1] + 1);
        }
    }
}

TEST_P(EngineThreadsTest, SubscriptionsComeAndGoWhileOthersWrite) {
    const auto engine = open();
    tessapi::Dispatcher dispatcher{"listener", engine};
    tessapi::InBandClient client{*engine, dispatcher};
    const auto channel = engine->emplaceChannel(1, COUNTER);
    std::thread writer{[&] {
        for (std::uint32_t count = 1; count <= 200; ++count) {
            engine->setValue(channel, CValue{count});
        }
    }};
    std::atomic<int> calls{0};
    for (int round = 0; round < 100; ++round) {
        std::uint64_t subscription = 0;
        client.subscribeMultipleChannels(
            {channel}, [&calls](auto, const auto&) { ++calls; },
            round % 2 == 0 ? qz::sub::everyWrite : qz::sub::changes, &subscription);
        EXPECT_NE(subscription, 0U);
        client.unsubscribe(subscription);
    }
    writer.join();
    Recorder<CValue> last;
    client.subscribeMultipleChannels(
        {channel}, [last](auto, CValue value) { last.add(std::move(value)); }, qz::sub::everyWrite, nullptr);
    engine->setValue(channel, CValue{std::uint32_t{1}});
    EXPECT_EQ(last.waitFor(1), std::vector{CValue{std::uint32_t{1}}});
}

} // namespace
