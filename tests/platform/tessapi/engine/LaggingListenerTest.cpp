#include "platform/tessapi/client/BrowserClient.h"
#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/client/InBandClient.h"
#include "platform/tessapi/engine/Engine.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/Gate.h"
#include "tests/platform/tessapi/Recorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using qz::CValue;
using tessapi::contract::Gate;
using tessapi::contract::Recorder;
using velk::common::Uuid;
using Write = std::pair<std::uint64_t, CValue>;

/// A store that keeps few changes, and a client whose thread is held inside a callback while more are
/// written.
class LaggingListenerTest : public ::testing::TestWithParam<std::string> {
protected:
    static constexpr int KEPT = 8;

    LaggingListenerTest() : engine{tessapi::Engine::open(tessapi::StoreUrl{url()}, true, options())} {
        client = std::make_unique<tessapi::Dispatcher>("lagging", engine);
        channels = std::make_unique<tessapi::InBandClient>(*engine, *client);
        device = engine->emplaceDevice(Uuid{Uuid::VELK_NAMESPACE, "device"}, 1, 0);
        first = engine->emplaceChannel(device, "PowerDistribution.Status.Source");
        third = engine->emplaceChannel(device, "PowerDistribution.Measure.Voltage");
        hold = engine->emplaceChannel(device, "PowerDistribution.Measure.Current");
        channels->subscribeMultipleChannels(
            {hold}, [gate = gate](auto, const auto&) { gate.pass(); }, 0, nullptr);
    }
    ~LaggingListenerTest() override { gate.open(); }

    std::string url() const {
        return GetParam() + ":" + (GetParam() == "memory" ? "" : (folder.path().string() + "/")) + "lagging";
    }

    static tessapi::Engine::Options options() {
        tessapi::Engine::Options few;
        few.changesKept = KEPT;
        return few;
    }

    Recorder<Write> watch(const std::vector<std::uint64_t>& ids, qz::sub::subscription_type type) {
        Recorder<Write> seen;
        channels->subscribeMultipleChannels(
            ids,
            [seen](auto channel, CValue value) {
                seen.add({channel, std::move(value)});
            },
            type, nullptr);
        return seen;
    }

    void holdClient() {
        engine->setValue(hold, CValue{1.0F});
        ASSERT_TRUE(gate.awaitArrival());
    }

    /// Far more than the store keeps, and than a client takes at a time.
    void writeTooMuch(std::uint64_t channel) {
        for (int number = 1; number <= 600; ++number) {
            engine->setValue(channel,
                             number == 600 ? CValue{600.0F} : CValue{static_cast<float>(number % 7)});
        }
    }

    const velk::testing::TemporaryDirectory folder;
    const Gate gate;
    std::shared_ptr<tessapi::Engine> engine;
    std::unique_ptr<tessapi::Dispatcher> client;
    std::unique_ptr<tessapi::InBandClient> channels;
    std::uint64_t device{0};
    std::uint64_t first{0};
    std::uint64_t third{0};
    std::uint64_t hold{0};
};

INSTANTIATE_TEST_SUITE_P(Engines, LaggingListenerTest, ::testing::Values("sqlite", "memory"),
                         [](const auto& engine) { return engine.param; });

TEST_P(LaggingListenerTest, EachChannelWrittenSinceIsDeliveredOnceWithItsLastValue) {
    engine->setValue(first, CValue{std::uint32_t{1}});
    const auto seen = watch({first, third}, qz::sub::everyWrite);
    ::testing::internal::CaptureStderr();
    holdClient();
    writeTooMuch(third);
    gate.open();
    const auto writes = seen.waitForItem({third, CValue{600.0F}});
    client.reset();
    const auto told = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(writes, (std::vector<Write>{{third, CValue{600.0F}}}));
    EXPECT_EQ(told, "WARNING - lagging: fell behind the store " + engine->url() +
                        "; continuing with the present values\n");
}

TEST_P(LaggingListenerTest, WhatWasDeliveredBeforeIsNotDeliveredAgain) {
    const auto seen = watch({first, third}, qz::sub::everyWrite);
    engine->setValue(third, CValue{7.5F});
    seen.waitFor(1);
    ::testing::internal::CaptureStderr();
    holdClient();
    writeTooMuch(hold);
    engine->setAttribute(device, 2, "text");
    gate.open();
    engine->setValue(first, CValue{std::uint32_t{2}});
    const auto writes = seen.waitForItem({first, CValue{std::uint32_t{2}}});
    client.reset();
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(writes, (std::vector<Write>{{third, CValue{7.5F}}, {first, CValue{std::uint32_t{2}}}}));
}

TEST_P(LaggingListenerTest, AChangeIsDeliveredOnlyIfTheValueIsAnotherOne) {
    engine->setValue(first, CValue{std::uint32_t{1}});
    const auto seen = watch({first, third}, qz::sub::changes);
    ::testing::internal::CaptureStderr();
    holdClient();
    engine->setValue(first, CValue{std::uint32_t{2}});
    engine->setValue(first, CValue{std::uint32_t{1}});
    writeTooMuch(third);
    gate.open();
    const auto writes = seen.waitForItem({third, CValue{600.0F}});
    client.reset();
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(writes, (std::vector<Write>{{third, CValue{600.0F}}}));
}

TEST_P(LaggingListenerTest, DevicesAndAlarmsAreBroughtUpToDateToo) {
    Recorder<std::uint64_t> devices;
    Recorder<tessapi::LevelAlarm> levels;
    channels->subscribeDevice(
        device, [devices](auto id) { devices.add(id); }, qz::sub::attributes, false, nullptr);
    channels->subscribeDeviceAlarms(
        device, [levels](const auto& update) { levels.add(update.level); }, nullptr);
    ::testing::internal::CaptureStderr();
    holdClient();
    engine->setAttribute(device, 2, "one");
    engine->setAttribute(device, 2, "two");
    qz::CAlarmTrigger trigger;
    trigger.level = tessapi::LevelAlarm::warning;
    trigger.type = 3;
    trigger.threshold1 = CValue{600.0F};
    qz::tess::CSingleAlarmConfig config;
    config.triggers = {trigger};
    engine->setAlarmConfig(third, config);
    writeTooMuch(third);
    writeTooMuch(hold);
    gate.open();
    EXPECT_EQ(levels.waitFor(1), (std::vector{tessapi::LevelAlarm::warning}));
    EXPECT_EQ(devices.waitFor(1), (std::vector{device}));
    client.reset();
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(devices.all().size(), 1U);
}

} // namespace
