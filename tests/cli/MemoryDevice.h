#pragma once

#include "cli/JournalEntry.h"
#include "platform/common/Uuid.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "tests/cli/SnapshotBuilder.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velk::cli::test {

/// A real store in memory with a device in it, filled by paths as people know them. Types, units and names of
/// states come from the store's catalogue. The device is connected since an hour before
/// `SnapshotBuilder::NOW_MS`.
class MemoryDevice {
public:
    /// Each test names a store of its own.
    explicit MemoryDevice(const std::string& name) :
        store{tessapi::TessAccessor::open("test", "memory:" + name)} {
        store->emplaceDevice(uuid("equipment"), 1, 2);
        attribute(2, tessapi::DeviceAttribute::path, "PowerEquipment");
        store->emplaceDevice(uuid("device"), 2, 20);
        attribute(20, tessapi::DeviceAttribute::path, "PowerDistribution");
        channel(2, "PowerDistribution.Status.OperatingStatus", qz::CValue{16U});
        connect(2);
    }

    /// 2 connected, 3 lost, 4 unknown; since an hour.
    void connect(std::uint32_t state) {
        set("CommunicationStatus.State", qz::CValue{state});
        set("CommunicationStatus.Since",
            qz::CValue{qz::CTimestamp{SnapshotBuilder::NOW_MS / 1000 - 3600, ""}});
    }

    void text(tessapi::DeviceAttribute which, const std::string& value) { attribute(20, which, value); }

    /// Makes the parts on the way to the point when they are not there.
    void set(const std::string& path, const qz::CValue& value) {
        const std::size_t begin = nameIn(path);
        const std::string part = begin == 0 ? "" : path.substr(0, begin - 1);
        channel(partOf(part), "PowerDistribution." + path.substr(begin), value);
    }

    void setAll(const std::vector<std::pair<std::string, qz::CValue>>& values) {
        for (const auto& [path, value] : values) {
            set(path, value);
        }
    }

    /// An alarm that is active while the flag is true.
    void alarm(const std::string& path, tessapi::LevelAlarm level, const std::string& code) {
        const std::size_t begin = nameIn(path);
        qz::CAlarmTrigger trigger;
        trigger.level = level;
        trigger.type = 3;
        trigger.threshold1 = qz::CValue{true};
        trigger.priority = 0;
        trigger.code = code;
        qz::tess::CSingleAlarmConfig config;
        config.triggers.push_back(trigger);
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        inband.setChannelAlarmConfig(
            inband.emplaceChannel(partOf(begin == 0 ? "" : path.substr(0, begin - 1)),
                                  "PowerDistribution." + path.substr(begin), false),
            config);
    }

    /// What the daemon notes of the device's event log.
    void log(const std::string& text) {
        channel(store->emplaceDevice(JournalEntry::deviceUuid(), 1, 0), "Daemon.DeviceLog", qz::CValue{text});
        attribute(store->deviceIdOf(JournalEntry::deviceUuid()), tessapi::DeviceAttribute::path, "Daemon");
    }

    static velk::common::Uuid uuid(const std::string& name) {
        return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "memory " + name};
    }

    std::unique_ptr<tessapi::TessAccessor> store;

private:
    /// Where the name of the point begins behind the path of its part.
    static std::size_t nameIn(const std::string& path) {
        static constexpr std::array<const char*, 7> kinds{"Measure.",
                                                          "Status.",
                                                          "Setting.",
                                                          "Action.",
                                                          "Specification.",
                                                          "Attribute.",
                                                          "CommunicationStatus."};
        std::size_t begin = path.size();
        for (const char* kind : kinds) {
            for (std::size_t at = path.find(kind); at != std::string::npos; at = path.find(kind, at + 1)) {
                if (at == 0 || path[at - 1] == '.') {
                    begin = std::min(begin, at);
                }
            }
        }
        return begin;
    }

    std::uint64_t partOf(const std::string& path) {
        if (path.empty()) {
            return 20;
        }
        const auto known = parts.find(path);
        if (known != parts.end()) {
            return known->second;
        }
        const std::size_t dot = path.rfind('.');
        const std::uint64_t parent = partOf(dot == std::string::npos ? "" : path.substr(0, dot));
        const std::uint64_t made = store->emplaceDevice(uuid(path), parent, 0);
        attribute(made, tessapi::DeviceAttribute::path, path);
        return parts[path] = made;
    }

    void attribute(std::uint64_t device, tessapi::DeviceAttribute which, const std::string& value) {
        store->inbandAccessor().setDeviceAttribute(device, which, value);
    }

    void channel(std::uint64_t device, const std::string& name, const qz::CValue& value) {
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        const std::uint64_t made = inband.emplaceChannel(device, name, false);
        if (value.isValid()) {
            inband.setChannelCValue(made, value);
        }
    }

    std::map<std::string, std::uint64_t> parts;
};

} // namespace velk::cli::test
