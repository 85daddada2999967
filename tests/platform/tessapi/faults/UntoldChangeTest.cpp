#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/client/InBandClient.h"
#include "platform/tessapi/engine/Engine.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/Recorder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessapi::faults {
namespace {

using contract::Recorder;
using velk::testing::ChildProcess;

/// A writer is killed after its commit, while it holds the lock and before anybody was woken. The parameter
/// is how much of the change is in the shared page by then.
class UntoldChangeTest : public ::testing::TestWithParam<int> {
protected:
    UntoldChangeTest() {
        channel = engine->emplaceChannel(1, "PowerDistribution.Status.Source");
        client.subscribeMultipleChannels(
            {channel}, [this](auto, const qz::CValue& value) { heard.add(value.as_uint32()); },
            qz::sub::everyWrite, nullptr);
    }

    std::string url() const { return "sqlite:" + (folder / "tess.db").string(); }

    void setAndDie(std::uint32_t value) const {
        ChildProcess writer{{VELK_FAULT_WORKER, url(), "untold", std::to_string(channel),
                             std::to_string(value), std::to_string(GetParam())}};
        EXPECT_EQ(writer.finish(), 128 + SIGKILL) << writer.errors();
    }

    const velk::testing::TemporaryDirectory folder;
    const std::shared_ptr<Engine> engine{Engine::open(StoreUrl{url()}, true)};
    const Recorder<std::uint32_t> heard;
    std::uint64_t channel{0};
    Dispatcher dispatcher{"listener", engine};
    InBandClient client{*engine, dispatcher};
};

INSTANTIATE_TEST_SUITE_P(Stages, UntoldChangeTest, ::testing::Values(0, 1, 2));

TEST_P(UntoldChangeTest, IsHeardByAListenerAlthoughNobodyWritesAgain) {
    engine->setValue(channel, qz::CValue{1U});
    heard.waitFor(1);
    setAndDie(2);
    EXPECT_EQ(heard.waitFor(2), (std::vector<std::uint32_t>{1, 2}));
}

TEST_P(UntoldChangeTest, IsHeardInItsPlaceWhenSomebodyWritesAfterIt) {
    engine->setValue(channel, qz::CValue{1U});
    setAndDie(2);
    engine->setValue(channel, qz::CValue{3U});
    setAndDie(4);
    setAndDie(5);
    engine->setValue(channel, qz::CValue{6U});
    EXPECT_EQ(heard.waitFor(6), (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6}));
}

} // namespace
} // namespace tessapi::faults
