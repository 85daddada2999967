#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/TessAccessor.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace velk::testing {

/// The store as another program sees it. A path is the device's place and the channel's name without its
/// prefix: "Inputs.1.Measure.Voltage", "PowerDistribution.Status.Mode" for the device itself.
class StoreWatch {
public:
    explicit StoreWatch(const std::string& url) : accessor{tessapi::TessAccessor::open("watch", url)} {
        accessor->browser().subscribeAllChannels(
            [this](const tessapi::ChannelWrite&) {
                const velk::common::MutexLock lock{mutex};
                ++writes;
                changed.notify_all();
            },
            nullptr);
    }

    tessapi::TessAccessor& client() { return *accessor; }

    /// Everything with a value, by path.
    std::map<std::string, tessapi::ChannelRecord> channels() {
        const tessapi::StoreSnapshot store = accessor->browser().snapshot();
        std::map<std::uint64_t, std::string> places;
        for (const qz::CDevice& device : store.devices) {
            places[device.id] = device.attributes[7];
        }
        std::map<std::string, tessapi::ChannelRecord> byPath;
        const std::string prefix{"PowerDistribution."};
        for (const tessapi::ChannelRecord& channel : store.channels) {
            const bool ours = channel.name.rfind(prefix, 0) == 0;
            const std::string name = ours ? channel.name.substr(prefix.size()) : channel.name;
            byPath[places[channel.deviceId] + "." + name] = channel;
        }
        return byPath;
    }

    /// The channel as it is; an unknown path gives a record without value.
    tessapi::ChannelRecord channel(const std::string& path) {
        const auto all = channels();
        const auto found = all.find(path);
        return found == all.end() ? tessapi::ChannelRecord{} : found->second;
    }

    qz::CValue value(const std::string& path) { return channel(path).value; }

    /// True when the channel has come to hold `wanted`, false when that takes more than half a minute.
    bool await(const std::string& path, const qz::CValue& wanted) {
        return awaitThat([&] { return value(path) == wanted; });
    }

    bool awaitThat(const std::function<bool()>& condition) VELK_EXCLUDES(mutex) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
        for (;;) {
            const std::size_t seen = count();
            if (condition()) {
                return true;
            }
            velk::common::MutexLock lock{mutex};
            while (writes == seen) {
                if (changed.wait_until(lock, deadline) == std::cv_status::timeout) {
                    lock.unlock();
                    const bool late = condition();
                    lock.lock();
                    return late;
                }
            }
        }
    }

    /// Writes a value as another program would.
    void write(const std::string& path, const qz::CValue& value) {
        accessor->inbandAccessor().setChannelCValue(channel(path).id, value);
    }

private:
    std::size_t count() VELK_EXCLUDES(mutex) {
        const velk::common::MutexLock lock{mutex};
        return writes;
    }

    velk::common::Mutex mutex;
    std::condition_variable_any changed;
    std::size_t writes VELK_GUARDED_BY(mutex){0};
    std::unique_ptr<tessapi::TessAccessor> accessor; // last: its thread calls into the fields above
};

} // namespace velk::testing
