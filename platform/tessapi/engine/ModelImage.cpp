// The store as a whole: how a model shows it and is filled with it.

#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/engine/AlarmEvaluator.h"
#include "platform/tessapi/engine/Model.h"
#include "platform/tessapi/engine/StoreError.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <tuple>
#include <utility>

namespace tessapi {

namespace {

constexpr auto EVERYTHING = std::numeric_limits<std::size_t>::max();

/// Most critical first, by the same rule as for a device.
bool moreCritical(const ActiveAlarm& a, const ActiveAlarm& b) {
    const auto rank = [](const ActiveAlarm& alarm) {
        return std::tuple{-static_cast<std::int64_t>(alarm.level), alarm.priority < 0, alarm.priority};
    };
    return rank(a) < rank(b);
}

void addAlarm(ChannelRecord& record, AlarmTable::Row row) {
    if (row.active) {
        record.activeAlarms.push_back(
            {true, row.trigger.level, row.trigger.priority, row.trigger.code, record.id});
    }
    record.alarmConfig.triggers.push_back(std::move(row.trigger));
}

} // namespace

ChannelRecord Model::recordOf(ChannelTable::Row row) const {
    ChannelRecord record;
    record.id = row.id;
    record.deviceId = row.device;
    record.type = row.type;
    record.initialized = row.value.isValid();
    record.value = std::move(row.value);
    record.writtenMs = row.writtenMs;
    record.changedMs = row.changedMs;
    if (const auto* entry = catalogue.find(row.name); entry != nullptr) {
        record.unit = entry->unit;
        record.description = entry->description;
        record.commonStates = entry->labels;
    }
    record.name = std::move(row.name);
    return record;
}

StoreSnapshot Model::snapshot() {
    StoreSnapshot store;
    store.devices = devices.all();
    auto rows = channels.all();
    std::vector<std::pair<std::uint64_t, std::size_t>> places;
    for (auto& row : rows) {
        places.emplace_back(row.id, places.size());
        store.channels.push_back(recordOf(std::move(row)));
    }
    std::sort(places.begin(), places.end());
    const auto channel = [this, &store, &places](std::uint64_t id) -> ChannelRecord& {
        const auto found = std::lower_bound(places.begin(), places.end(), std::pair{id, std::size_t{0}});
        if (found == places.end() || found->first != id) {
            throwStoreFault(database.storeName(), StoreFault::corrupt, "a setting without channel");
        }
        return store.channels[found->second];
    };
    for (auto& [id, state] : channels.allStates()) {
        channel(id).states.add(state.first, state.second);
    }
    for (auto& row : alarms.all()) {
        auto& record = channel(row.channel);
        addAlarm(record, std::move(row));
    }
    for (auto& record : store.channels) {
        std::stable_sort(record.activeAlarms.begin(), record.activeAlarms.end(), moreCritical);
    }
    return store;
}

StoreImage Model::image() {
    StoreImage whole;
    whole.lastDevice = devices.lastGiven();
    whole.lastChannel = channels.lastGiven();
    whole.content = snapshot();
    whole.alarmEvents = events.since(0, EVERYTHING);
    whole.writeRecords = records.since(0, EVERYTHING);
    return whole;
}

void Model::fill(const StoreImage& image) {
    if (devices.all().size() != 1 || !channels.all().empty()) {
        throwStoreFault(database.storeName(), StoreFault::occupied, "cannot fill");
    }
    // A child may have a smaller identifier than its parent.
    database.execute("PRAGMA defer_foreign_keys=ON");
    for (const auto& device : image.content.devices) {
        if (device.id != ITessAccessor::ROOT_DEVICE) {
            devices.insert(device.uuid, device.parentId, device.id);
        }
        for (std::uint32_t number = 0; number < qz::CDevice::ATTRIBUTE_COUNT; ++number) {
            if (!device.attributes[number].empty()) {
                devices.setAttribute(device.id, number, device.attributes[number], 0);
            }
        }
    }
    for (const auto& record : image.content.channels) {
        fillChannel(record);
    }
    for (const auto& event : image.alarmEvents) {
        events.append(event);
    }
    for (const auto& record : image.writeRecords) {
        records.append(record);
    }
    devices.setLastGiven(image.lastDevice);
    channels.setLastGiven(image.lastChannel);
}

void Model::fillChannel(const ChannelRecord& record) {
    channels.insertWithId(record.id, record.deviceId, record.name, record.type);
    channels.setValue(record.id, record.value, record.writtenMs, record.changedMs, 0);
    channels.setStates(record.id, record.states);
    AlarmRows triggers;
    for (const auto& trigger : record.alarmConfig.triggers) {
        triggers.push_back({record.id, trigger, AlarmEvaluator::isActive(trigger, record.value)});
    }
    alarms.replace(record.id, triggers);
    channels.setHasTriggers(record.id, !triggers.empty());
}

} // namespace tessapi
