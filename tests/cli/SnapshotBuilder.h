#pragma once

#include "platform/tessapi/DeviceAttribute.h"
#include "platform/tessapi/StoreBrowser.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace velk::cli::test {

/// Builds a picture of a store by hand. It begins with the root, the equipment (2) and the device (20),
/// connected since `CONNECTED_MS`.
class SnapshotBuilder {
public:
    static constexpr std::int64_t NOW_MS = 1'700'000'000'000;
    static constexpr std::int64_t CONNECTED_MS = NOW_MS - 3'600'000;
    static constexpr std::int64_t ENDED_MS = NOW_MS - 60'000; ///< when `daemonProcess` was said

    SnapshotBuilder() {
        device(1, 0, "");
        device(2, 1, "PowerEquipment");
        device(20, 2, "PowerDistribution");
        communication(20, 2U);
    }

    qz::CDevice& device(std::uint64_t id, std::uint64_t parent, const std::string& path) {
        qz::CDevice made;
        made.id = id;
        made.parentId = parent;
        made.uuid = velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "test " + std::to_string(id)};
        made.attributes.at(static_cast<std::size_t>(tessapi::DeviceAttribute::path)) = path;
        snapshot.devices.push_back(made);
        return snapshot.devices.back();
    }

    void attribute(std::uint64_t id, tessapi::DeviceAttribute which, const std::string& text) {
        for (qz::CDevice& device : snapshot.devices) {
            if (device.id == id) {
                device.attributes.at(static_cast<std::size_t>(which)) = text;
            }
        }
    }

    /// `name` without "PowerDistribution."; its identifier counts up from 5000. The reference lasts until the
    /// next channel.
    tessapi::ChannelRecord& channel(std::uint64_t device, const std::string& name, const qz::CValue& value,
                                    const std::string& unit = "") {
        tessapi::ChannelRecord made;
        made.id = nextChannel++;
        made.deviceId = device;
        made.name = "PowerDistribution." + name;
        made.value = value;
        made.type = value.type().value_or(qz::datatype::string);
        made.initialized = value.isValid();
        made.unit = unit;
        made.changedMs = value.isValid() ? NOW_MS - 180'000 : 0;
        made.writtenMs = made.changedMs;
        snapshot.channels.push_back(made);
        return snapshot.channels.back();
    }

    /// States of a communication: 2 connected, 3 lost, 4 unknown.
    void communication(std::uint64_t device, std::uint32_t state) {
        tessapi::ChannelRecord& made = channel(device, "CommunicationStatus.State", qz::CValue{state});
        made.changedMs = CONNECTED_MS;
        made.states.add(qz::CValue{2U}, "connected");
        made.states.add(qz::CValue{3U}, "lost");
        made.states.add(qz::CValue{4U}, "unknown");
    }

    /// What the daemon says of its own process; takes the place of what it said before.
    void daemonProcess(std::uint64_t device, const std::string& mark) {
        std::erase_if(snapshot.channels,
                      [](const auto& channel) { return channel.name == "Daemon.Process"; });
        tessapi::ChannelRecord& made = channel(device, "", qz::CValue{mark});
        made.name = "Daemon.Process";
        made.changedMs = ENDED_MS;
    }

    /// The channel of this identifier; std::out_of_range when there is none.
    tessapi::ChannelRecord& record(std::uint64_t id) {
        for (tessapi::ChannelRecord& channel : snapshot.channels) {
            if (channel.id == id) {
                return channel;
            }
        }
        throw std::out_of_range{"no channel " + std::to_string(id)};
    }

    /// The channel by its name without "PowerDistribution."; std::out_of_range when there is none.
    tessapi::ChannelRecord& find(std::uint64_t device, const std::string& name) {
        for (tessapi::ChannelRecord& channel : snapshot.channels) {
            if (channel.deviceId == device && channel.name == "PowerDistribution." + name) {
                return channel;
            }
        }
        throw std::out_of_range{"no channel " + name};
    }

    /// Another value for a channel that is there.
    void change(std::uint64_t device, const std::string& name, const qz::CValue& value) {
        for (tessapi::ChannelRecord& channel : snapshot.channels) {
            if (channel.deviceId == device && channel.name == "PowerDistribution." + name) {
                channel.value = value;
            }
        }
    }

    tessapi::StoreSnapshot build() const {
        tessapi::StoreSnapshot built = snapshot;
        std::stable_sort(built.devices.begin(), built.devices.end(),
                         [](const auto& a, const auto& b) { return a.id < b.id; });
        std::stable_sort(built.channels.begin(), built.channels.end(), [](const auto& a, const auto& b) {
            return std::pair{a.deviceId, a.id} < std::pair{b.deviceId, b.id};
        });
        return built;
    }

private:
    tessapi::StoreSnapshot snapshot;
    std::uint64_t nextChannel{5000};
};

/// A multistate map of numbers.
inline qz::CMultistateMap statesOf(std::initializer_list<std::pair<std::uint32_t, const char*>> rows) {
    qz::CMultistateMap states;
    for (const auto& [key, name] : rows) {
        states.add(qz::CValue{key}, name);
    }
    return states;
}

} // namespace velk::cli::test
