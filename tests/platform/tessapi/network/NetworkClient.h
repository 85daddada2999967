#pragma once

#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/client/BrowserClient.h"
#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/client/InBandClient.h"
#include "platform/tessapi/engine/Engine.h"
#include "tests/platform/tessapi/Recorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessapi::network {

using contract::Recorder;

/// A program with a store on the network that, unless told otherwise, gives up on a call sooner than programs
/// do.
class NetworkClient {
public:
    /// For an answer of the server that may not come; long enough for one that comes on a busy machine.
    static constexpr std::chrono::milliseconds PATIENCE{1500};
    /// For one that comes, on whatever machine.
    static constexpr std::chrono::milliseconds PATIENT{20'000};

    explicit NetworkClient(const std::string& url, bool create = true,
                           std::chrono::milliseconds patience = PATIENCE) :
        engine{Engine::open(StoreUrl{url}, create, options(patience))},
        dispatcher{"test", engine},
        inband{*engine, dispatcher},
        shown{*engine, dispatcher} {}

    InBandAccessor& channels() { return inband; }
    StoreBrowser& browser() { return shown; }
    Engine::Waiting waiting() { return engine->waiting(); }

    /// Makes the channel on the root device, or finds it.
    std::uint64_t channel(const std::string& name) {
        return inband.emplaceChannel(ITessAccessor::ROOT_DEVICE, name, false);
    }

    template <typename T>
    void set(std::uint64_t channelId, T value) {
        inband.setChannelCValue(channelId, qz::CValue{std::move(value)});
    }

    /// The values that callbacks bring.
    Recorder<qz::CValue> watch(std::uint64_t channelId,
                               qz::sub::subscription_type type = qz::sub::everyWrite) {
        Recorder<qz::CValue> recorder;
        std::uint64_t subscription = 0;
        inband.subscribeMultipleChannels(
            {channelId}, [recorder](std::uint64_t, const qz::CValue& value) { recorder.add(value); }, type,
            &subscription);
        return recorder;
    }

private:
    static Engine::Options options(std::chrono::milliseconds patience) {
        Engine::Options chosen;
        chosen.longestWait = patience;
        return chosen;
    }

    const std::shared_ptr<Engine> engine;
    Dispatcher dispatcher;
    InBandClient inband;
    BrowserClient shown;
};

/// Of which only the newest value counts.
inline const std::string MEASURE{"PowerDistribution.Measure.Voltage"};
/// Of which every value counts: what became of an action.
inline const std::string RESULT{"Daemon.LastWrite"};

/// Whether the values are 1 to `last`, each once and in this order; the first that is not, for messages.
inline ::testing::AssertionResult areNumbersUpTo(int last, const std::vector<qz::CValue>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].as_string() != std::to_string(i + 1)) {
            return ::testing::AssertionFailure() << "after " << i << " came " << values[i].as_string();
        }
    }
    return values.size() == static_cast<std::size_t>(last)
               ? ::testing::AssertionSuccess()
               : ::testing::AssertionFailure() << values.size() << " came, the last of them missing";
}

/// How often `part` is in `text`.
inline std::size_t countOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

} // namespace tessapi::network
