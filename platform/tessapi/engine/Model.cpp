#include "platform/tessapi/engine/Model.h"

#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/engine/AlarmEvaluator.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <stdexcept>
#include <tuple>
#include <unordered_set>
#include <utility>

namespace tessapi {

namespace {

constexpr auto UNKNOWN = ITessAccessor::UNKNOWN_ID;

std::int64_t nowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

using Ids = std::unordered_set<std::uint64_t>;

bool contains(const std::vector<std::uint64_t>& ids, std::uint64_t id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

bool overlap(const std::vector<std::uint64_t>& ids, const Ids& others) {
    return std::any_of(ids.begin(), ids.end(), [&others](auto id) { return others.count(id) != 0; });
}

/// What tells one active alarm of a channel from another.
using AlarmKey = std::tuple<LevelAlarm, std::int32_t, std::string>;

std::vector<AlarmKey> activeKeys(const std::vector<AlarmTable::Row>& rows) {
    std::vector<AlarmKey> keys;
    for (const auto& row : rows) {
        if (row.active) {
            keys.emplace_back(row.trigger.level, row.trigger.priority, row.trigger.code);
        }
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

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

Model::Model(Database& database, const Catalogue& names, std::int64_t changesKept) :
    devices{database},
    channels{database},
    alarms{database},
    changes{database, changesKept},
    catalogue{names} {}

std::uint64_t Model::emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent,
                                   std::uint64_t wanted) {
    if (uuid.isNil()) {
        return UNKNOWN;
    }
    if (const auto known = devices.find(uuid); known != UNKNOWN) {
        return known;
    }
    // The root keeps its seat, and from 1000 up identifiers are given, not wished for.
    const bool isWish = wanted > ITessAccessor::ROOT_DEVICE && wanted < Schema::FIRST_FREE_ID;
    const auto subtree = isWish ? devices.subtreeOf(wanted) : std::vector<std::uint64_t>{};
    if (!devices.contains(parent) || contains(subtree, parent)) {
        return UNKNOWN;
    }
    devices.remove(subtree);
    return devices.insert(uuid, parent, isWish ? wanted : 0);
}

void Model::removeSubDevices(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                             unsigned int limit) {
    const auto children = devices.childrenOf(device);
    if (children.empty()) {
        return; // the list of all that is kept is long, and most devices have no children
    }
    std::set<std::uint64_t> candidates{children.begin(), children.end()};
    for (const auto id : keep) {
        candidates.erase(id);
    }
    if (candidates.empty()) {
        return;
    }
    const Ids kept{keep.begin(), keep.end()};
    unsigned int removed = 0;
    for (const auto child : candidates) {
        if (removed == limit) {
            return;
        }
        const auto subtree = devices.subtreeOf(child);
        if (overlap(subtree, kept)) {
            continue;
        }
        devices.remove(subtree);
        ++removed;
    }
}

void Model::setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text) {
    if (number >= qz::CDevice::ATTRIBUTE_COUNT || !devices.contains(device)) {
        return;
    }
    const auto seq = changes.append(Change::Kind::attribute, device, qz::CValue{}, nowMs());
    devices.setAttribute(device, number, text, seq);
}

qz::datatype Model::typeFor(const std::string& name) const {
    const auto* entry = catalogue.find(name);
    return entry == nullptr ? qz::datatype::string : entry->type;
}

std::uint64_t Model::emplaceChannel(std::uint64_t device, const std::string& name) {
    if (const auto known = channels.find(device, name); known != UNKNOWN) {
        return known;
    }
    if (!devices.contains(device)) {
        return UNKNOWN;
    }
    const auto channel = channels.insert(device, name, typeFor(name));
    if (const auto* entry = catalogue.find(name); entry != nullptr) {
        channels.setStates(channel, entry->labels);
    }
    return channel;
}

void Model::removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep) {
    const Ids kept{keep.begin(), keep.end()};
    bool alarmsChanged = false;
    for (const auto channel : channels.idsOf(device)) {
        if (kept.count(channel) == 0) {
            alarmsChanged = alarmsChanged || !activeKeys(alarms.triggersOf(channel)).empty();
            channels.remove(channel);
        }
    }
    if (alarmsChanged) {
        announceAlarms(device, nowMs());
    }
}

void Model::setValue(std::uint64_t channel, const qz::CValue& value) {
    auto row = channels.get(channel);
    if (!row) {
        throw std::runtime_error{"channel " + std::to_string(channel) + " is not in the store"};
    }
    if (value.type() != row->type) {
        throw std::invalid_argument{"channel " + std::to_string(channel) + " (" + row->name + ") takes " +
                                    to_string(row->type) + ", not " +
                                    (value.isValid() ? to_string(*value.type()) : "an invalid value")};
    }
    row->writtenMs = nowMs();
    if (!ValueCodec::same(row->value, value)) {
        row->changedMs = row->writtenMs;
    }
    row->value = value;
    channels.setValue(*row, changes.append(Change::Kind::value, channel, value, row->writtenMs));
    if (row->hasTriggers && evaluate(*row)) {
        announceAlarms(row->device, row->writtenMs);
    }
}

bool Model::evaluate(const ChannelTable::Row& channel) {
    const auto before = alarms.triggersOf(channel.id);
    auto after = before;
    for (std::size_t place = 0; place < after.size(); ++place) {
        after[place].active = AlarmEvaluator::isActive(after[place].trigger, channel.value);
        if (after[place].active != before[place].active) {
            alarms.setActive(channel.id, place, after[place].active);
        }
    }
    return activeKeys(before) != activeKeys(after);
}

void Model::announceAlarms(std::uint64_t device, std::int64_t timeMs) {
    const auto worst = alarms.mostCriticalOf(device);
    const auto level = static_cast<std::uint32_t>(worst ? worst->level : LevelAlarm::good);
    const auto seq = changes.append(Change::Kind::alarms, device, qz::CValue{level}, timeMs);
    devices.noteAlarmChange(device, seq);
}

void Model::setAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) {
    const auto row = channels.get(channel);
    if (!row) {
        return;
    }
    std::vector<AlarmTable::Row> triggers;
    for (const auto& trigger : config.triggers) {
        triggers.push_back({channel, trigger, AlarmEvaluator::isActive(trigger, row->value)});
    }
    const auto before = activeKeys(alarms.triggersOf(channel));
    alarms.replace(channel, triggers);
    channels.setHasTriggers(channel, !triggers.empty());
    if (before != activeKeys(triggers)) {
        announceAlarms(row->device, nowMs());
    }
}

void Model::setStates(std::uint64_t channel, const qz::CMultistateMap& states) {
    if (channels.typeOf(channel) != qz::datatype::unknown) {
        channels.setStates(channel, states);
    }
}

bool Model::hasOutdatedTypes() {
    const auto types = channels.typesByName();
    return std::any_of(types.begin(), types.end(),
                       [this](const auto& known) { return known.second != typeFor(known.first); });
}

void Model::retypeChannels() {
    for (auto row : channels.all()) {
        const auto type = typeFor(row.name);
        if (row.type == type) {
            continue;
        }
        channels.retype(row.id, type);
        const auto* entry = catalogue.find(row.name);
        channels.setStates(row.id, entry == nullptr ? qz::CMultistateMap{} : entry->labels);
        row.value = qz::CValue{};
        if (row.hasTriggers && evaluate(row)) {
            announceAlarms(row.device, nowMs());
        }
    }
}

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
    const auto channel = [&store, &places](std::uint64_t id) -> ChannelRecord& {
        const auto found = std::lower_bound(places.begin(), places.end(), std::pair{id, std::size_t{0}});
        return store.channels[found->second];
    };
    for (auto& [id, state] : channels.allStates()) {
        channel(id).states.add(state.first, state.second);
    }
    for (auto& row : alarms.all()) {
        addAlarm(channel(row.channel), std::move(row));
    }
    for (auto& record : store.channels) {
        std::stable_sort(record.activeAlarms.begin(), record.activeAlarms.end(), moreCritical);
    }
    return store;
}

} // namespace tessapi
