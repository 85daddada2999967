#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/tessapi/DataAlarms.h"
#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/StoreImage.h"
#include "testing/CallLog.h"
#include "testing/FakeInBandAccessor.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// Answers with the alarm that a test has set, for every device that has one.
/// Threads: any.
class FakeDataAlarms : public tessapi::DataAlarms {
public:
    FakeDataAlarms(std::shared_ptr<CallLog> callLog, std::shared_ptr<FakeStoreFaults> switches) :
        log{std::move(callLog)}, faults{std::move(switches)} {}

    /// What `getMostCritical` gives for `device` from now on; nothing means null.
    void setAlarm(std::uint64_t device, std::optional<tessapi::ActiveAlarm> alarm) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        alarms[device] = std::move(alarm);
    }

    std::unique_ptr<tessapi::ActiveAlarm> getMostCritical(std::uint64_t device) override {
        const bool unknown = device == tessapi::ITessAccessor::UNKNOWN_ID;
        log->add("getMostCritical(" + (unknown ? std::string{"unknown"} : std::to_string(device)) + ")");
        faults->check("getMostCritical");
        velk::common::MutexLock lock{mutex};
        const auto alarm = alarms.find(device);
        if (alarm == alarms.end() || !alarm->second) {
            return nullptr;
        }
        return std::make_unique<tessapi::ActiveAlarm>(*alarm->second);
    }

private:
    const std::shared_ptr<CallLog> log;
    const std::shared_ptr<FakeStoreFaults> faults;
    mutable velk::common::Mutex mutex;
    std::map<std::uint64_t, std::optional<tessapi::ActiveAlarm>> alarms VELK_GUARDED_BY(mutex);
};

/// Shows nothing, since connectors never look at the store as a person does; keeps the records of writes and
/// gives the alarm events that a test has added.
/// Threads: any.
class FakeStoreBrowser : public tessapi::StoreBrowser {
public:
    FakeStoreBrowser() = default;
    explicit FakeStoreBrowser(std::shared_ptr<FakeStoreFaults> switches) : faults{std::move(switches)} {}

    void addAlarmEvent(tessapi::AlarmEvent event) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        events.push_back(std::move(event));
    }

    tessapi::StoreSnapshot snapshot() override { return {}; }
    void subscribeAllChannels(std::function<void(const tessapi::ChannelWrite&)>, std::uint64_t*) override {}
    std::string url() const override { return "memory:fake"; }
    std::vector<tessapi::AlarmEvent> alarmEvents(std::int64_t sinceMs, std::size_t limit) override {
        velk::common::MutexLock lock{mutex};
        return newest(events, sinceMs, limit);
    }
    std::vector<tessapi::WriteRecord> writeRecords(std::int64_t sinceMs, std::size_t limit) override {
        velk::common::MutexLock lock{mutex};
        return newest(records, sinceMs, limit);
    }
    void recordWrite(const tessapi::WriteRecord& record) override {
        faults->check("recordWrite");
        velk::common::MutexLock lock{mutex};
        records.push_back(record);
        records.back().number = static_cast<std::int64_t>(records.size());
    }
    tessapi::StoreImage image() override { return {}; }
    void fill(const tessapi::StoreImage&) override {}

private:
    template <typename Row>
    static std::vector<Row> newest(const std::vector<Row>& all, std::int64_t sinceMs, std::size_t limit) {
        std::vector<Row> chosen;
        std::copy_if(all.begin(), all.end(), std::back_inserter(chosen),
                     [sinceMs](const Row& row) { return row.timeMs >= sinceMs; });
        const std::size_t left = std::min(limit, chosen.size());
        return {chosen.end() - static_cast<std::ptrdiff_t>(left), chosen.end()};
    }

    const std::shared_ptr<FakeStoreFaults> faults{std::make_shared<FakeStoreFaults>()};
    velk::common::Mutex mutex;
    std::vector<tessapi::AlarmEvent> events VELK_GUARDED_BY(mutex);
    std::vector<tessapi::WriteRecord> records VELK_GUARDED_BY(mutex);
};

/// A store client without a store: devices here, the rest behind the usual accessors. It starts with the root
/// device, whose Uuid is `ROOT_UUID`; all calls of all accessors go into one log.
/// Threads: any.
class FakeTessAccessor : public tessapi::ITessAccessor {
public:
    static inline const velk::common::Uuid ROOT_UUID{"00000000-0000-4000-8000-000000000001"};

    FakeTessAccessor() { addDevice(ROOT_DEVICE, ROOT_UUID, 0); }

    // The test's side.

    /// Makes a device as another program would: not logged.
    void addDevice(std::uint64_t id, const velk::common::Uuid& uuid, std::uint64_t parent)
        VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        devices[id] = {uuid, parent};
        inBand.addDevice(id);
    }

    std::vector<std::uint64_t> deviceIds() const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        std::vector<std::uint64_t> ids;
        for (const auto& [id, device] : devices) {
            ids.push_back(id);
        }
        return ids;
    }

    /// Every call so far, in order.
    std::vector<std::string> calls() const { return log->calls(); }

    /// Those that begin with `beginning`.
    std::vector<std::string> calls(const std::string& beginning) const {
        std::vector<std::string> chosen;
        for (const std::string& call : log->calls()) {
            if (call.rfind(beginning, 0) == 0) {
                chosen.push_back(call);
            }
        }
        return chosen;
    }
    void forgetCalls() { log->clear(); }

    FakeStoreFaults& faults() { return *switches; }

    // The store's side.

    FakeInBandAccessor& inbandAccessor() override { return inBand; }
    FakeDataAlarms& alarmsAccessor() override { return alarms; }
    FakeStoreBrowser& browser() override { return storeBrowser; }

    std::uint64_t deviceIdOf(const velk::common::Uuid& uuid) override VELK_EXCLUDES(mutex) {
        called("deviceIdOf", uuid.toString());
        velk::common::MutexLock lock{mutex};
        return find(uuid);
    }

    velk::common::Uuid uuidOf(std::uint64_t deviceId) override VELK_EXCLUDES(mutex) {
        called("uuidOf", std::to_string(deviceId));
        velk::common::MutexLock lock{mutex};
        const auto device = devices.find(deviceId);
        return device == devices.end() ? velk::common::Uuid::NIL : device->second.uuid;
    }

    std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parentId,
                                std::uint64_t wantedId) override VELK_EXCLUDES(mutex) {
        called("emplaceDevice", uuid.toString() + ", " + textOf(parentId) + ", " + std::to_string(wantedId));
        velk::common::MutexLock lock{mutex};
        const std::uint64_t known = find(uuid);
        if (known != UNKNOWN_ID || uuid.isNil() || devices.count(parentId) == 0) {
            return known;
        }
        const std::uint64_t id = wantedId == 0 ? nextDevice++ : wantedId;
        devices[id] = {uuid, parentId};
        inBand.addDevice(id);
        return id;
    }

    void removeAllSubDevicesExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                                   unsigned int limit) override VELK_EXCLUDES(mutex) {
        auto sorted = keep;
        std::sort(sorted.begin(), sorted.end());
        std::string text;
        for (const std::uint64_t id : sorted) {
            text += (text.empty() ? "" : " ") + textOf(id);
        }
        called("removeAllSubDevicesExcept", textOf(device) + ", [" + text + "], " + std::to_string(limit));
        velk::common::MutexLock lock{mutex};
        for (auto entry = devices.begin(); entry != devices.end();) {
            const bool goes = entry->second.parent == device &&
                              !std::binary_search(sorted.begin(), sorted.end(), entry->first);
            if (goes) {
                inBand.removeDevice(entry->first);
            }
            entry = goes ? devices.erase(entry) : std::next(entry);
        }
    }

private:
    struct Device {
        velk::common::Uuid uuid;
        std::uint64_t parent{0};
    };

    static std::string textOf(std::uint64_t id) { return id == UNKNOWN_ID ? "unknown" : std::to_string(id); }

    void called(const std::string& operation, const std::string& arguments) const {
        log->add(operation + "(" + arguments + ")");
        switches->check(operation);
    }

    std::uint64_t find(const velk::common::Uuid& uuid) const VELK_REQUIRES(mutex) {
        const auto device = std::find_if(devices.begin(), devices.end(), [&](const auto& candidate) {
            return candidate.second.uuid == uuid;
        });
        return device == devices.end() ? UNKNOWN_ID : device->first;
    }

    const std::shared_ptr<CallLog> log{std::make_shared<CallLog>()};
    const std::shared_ptr<FakeStoreFaults> switches{std::make_shared<FakeStoreFaults>()};
    FakeInBandAccessor inBand{log, switches};
    FakeDataAlarms alarms{log, switches};
    FakeStoreBrowser storeBrowser{switches};
    mutable velk::common::Mutex mutex;
    std::map<std::uint64_t, Device> devices VELK_GUARDED_BY(mutex);
    std::uint64_t nextDevice VELK_GUARDED_BY(mutex){1000};
};

} // namespace velk::testing
