#include "platform/tessapi/engine/Model.h"

#include "platform/common/WallTime.h"
#include "platform/tessapi/DeviceAttribute.h"
#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/engine/AlarmEvaluator.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <tuple>
#include <unordered_set>
#include <utility>

namespace tessapi {

namespace {

constexpr auto UNKNOWN = ITessAccessor::UNKNOWN_ID;

using Ids = std::unordered_set<std::uint64_t>;

bool contains(const std::vector<std::uint64_t>& ids, std::uint64_t id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

bool overlap(const std::vector<std::uint64_t>& ids, const Ids& others) {
    return std::any_of(ids.begin(), ids.end(), [&others](auto id) { return others.count(id) != 0; });
}

/// What tells one active alarm of a channel from another.
using AlarmKey = std::tuple<LevelAlarm, std::int32_t, std::string>;

/// The active ones; of several with one key the first.
std::map<AlarmKey, const qz::CAlarmTrigger*> activeOf(const std::vector<AlarmTable::Row>& rows) {
    std::map<AlarmKey, const qz::CAlarmTrigger*> found;
    for (const auto& row : rows) {
        if (row.active) {
            found.emplace(AlarmKey{row.trigger.level, row.trigger.priority, row.trigger.code}, &row.trigger);
        }
    }
    return found;
}

} // namespace

Model::Model(Database& owner, const Catalogue& names, const Engine::Options& options) :
    devices{owner},
    channels{owner},
    alarms{owner},
    changes{owner, options.changesKept},
    events{owner, options.eventsKept},
    records{owner, options.eventsKept},
    database{owner},
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
    const bool hadAlarms = isWish && alarms.mostCriticalOf(wanted).has_value();
    removeDevices(subtree);
    const auto made = devices.insert(uuid, parent, isWish ? wanted : 0);
    if (hadAlarms) {
        // Who watches the seat must not go on with those of the former device.
        announceAlarms(made, velk::common::wallMs());
    }
    return made;
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
        removeDevices(subtree);
        ++removed;
    }
}

void Model::setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text) {
    if (number >= qz::CDevice::ATTRIBUTE_COUNT || !devices.contains(device)) {
        return;
    }
    const auto seq = changes.append(Change::Kind::attribute, device, qz::CValue{}, velk::common::wallMs());
    devices.setAttribute(device, number, text, seq);
}

qz::datatype Model::typeFor(const std::string& name) const {
    const auto* entry = catalogue.find(name);
    return entry == nullptr ? qz::datatype::string : entry->type;
}

std::vector<ChannelTable::Found> Model::emplaceChannels(std::uint64_t device,
                                                        const std::vector<std::string>& names) {
    auto found = channels.findAll(device, names);
    if (!devices.contains(device)) {
        return found;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (found[i].first == UNKNOWN) {
            const auto same = std::find(names.begin(), names.end(), names[i]) - names.begin();
            const auto first = static_cast<std::size_t>(same);
            found[i] = first < i ? found[first] : makeChannel(device, names[i]);
        }
    }
    return found;
}

ChannelTable::Found Model::makeChannel(std::uint64_t device, const std::string& name) {
    const auto type = typeFor(name);
    const auto channel = channels.insert(device, name, type);
    cache.add(channel, {device, type, {}, 0, {}});
    if (const auto* entry = catalogue.find(name); entry != nullptr && !entry->labels.entries().empty()) {
        channels.setStates(channel, entry->labels);
    }
    return {channel, {type, {}}};
}

void Model::removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep) {
    const Ids kept{keep.begin(), keep.end()};
    const auto time = velk::common::wallMs();
    bool alarmsChanged = false;
    for (const auto channel : channels.idsOf(device)) {
        if (kept.count(channel) == 0) {
            alarmsChanged |= clearAlarms(channel, time);
            channels.remove(channel);
            cache.forget(channel);
        }
    }
    if (alarmsChanged) {
        announceAlarms(device, time);
    }
}

ChannelCache::Entry* Model::entryOf(std::uint64_t channel) {
    if (auto* entry = cache.find(channel); entry != nullptr) {
        return entry;
    }
    auto row = channels.get(channel);
    if (!row) {
        return nullptr;
    }
    return &cache.add(channel, {row->device, row->type, std::move(row->value), row->changedMs,
                                row->hasTriggers ? alarms.triggersOf(channel) : AlarmRows{}});
}

void Model::refuseType(std::uint64_t channel, const qz::CValue& value) {
    const auto row = channels.get(channel);
    throw std::invalid_argument{"channel " + std::to_string(channel) + " (" + row->name + ") takes " +
                                to_string(row->type) + ", not " +
                                (value.isValid() ? to_string(*value.type()) : "an invalid value")};
}

void Model::setValue(std::uint64_t channel, const qz::CValue& value) {
    auto* entry = entryOf(channel);
    if (entry == nullptr) {
        throw std::runtime_error{"channel " + std::to_string(channel) + " is not in the store"};
    }
    if (value.type() != entry->type) {
        refuseType(channel, value);
    }
    const auto time = velk::common::wallMs();
    if (!ValueCodec::same(entry->value, value)) {
        entry->changedMs = time;
    }
    entry->value = value;
    const auto seq = changes.append(Change::Kind::value, channel, value, time);
    channels.setValue(channel, value, time, entry->changedMs, seq);
    if (evaluate(channel, *entry, time)) {
        announceAlarms(entry->device, time);
    }
}

bool Model::evaluate(std::uint64_t channel, ChannelCache::Entry& entry, std::int64_t timeMs) {
    const auto isNow = [&entry](const AlarmTable::Row& row) {
        return AlarmEvaluator::isActive(row.trigger, entry.value);
    };
    if (std::all_of(entry.triggers.begin(), entry.triggers.end(),
                    [&isNow](const auto& row) { return row.active == isNow(row); })) {
        return false;
    }
    const auto before = entry.triggers;
    for (std::size_t place = 0; place < before.size(); ++place) {
        auto& row = entry.triggers[place];
        row.active = isNow(row);
        if (row.active != before[place].active) {
            alarms.setActive(channel, place, row.active);
        }
    }
    const auto row = channels.get(channel);
    return noteAlarms(*row, before, entry.triggers, timeMs);
}

bool Model::noteAlarms(const ChannelTable::Row& channel, const AlarmRows& before, const AlarmRows& after,
                       std::int64_t timeMs) {
    const auto was = activeOf(before);
    const auto is = activeOf(after);
    bool changed = false;
    const auto note = [&](const auto& those, const auto& others, bool raised) {
        for (const auto& [key, trigger] : those) {
            if (others.count(key) == 0) {
                auto event = eventOf(channel, *trigger);
                event.timeMs = timeMs;
                event.raised = raised;
                events.append(event);
                changed = true;
            }
        }
    };
    note(was, is, false);
    note(is, was, true);
    return changed;
}

AlarmEvent Model::eventOf(const ChannelTable::Row& channel, const qz::CAlarmTrigger& trigger) {
    AlarmEvent event;
    event.device = channel.device;
    event.channel = channel.id;
    event.place = devices.attribute(channel.device, static_cast<std::uint32_t>(DeviceAttribute::path));
    event.name = channel.name;
    event.code = trigger.code;
    const auto states = channels.statesOf(channel.id);
    if (const auto* label = states.find(channel.value); label != nullptr) {
        event.message = *label;
    } else if (const auto* entry = catalogue.find(channel.name); entry != nullptr) {
        event.message = entry->description;
    }
    event.level = trigger.level;
    event.priority = trigger.priority;
    event.type = trigger.type;
    event.value = channel.value;
    event.threshold1 = trigger.threshold1;
    event.threshold2 = trigger.threshold2;
    return event;
}

bool Model::clearAlarms(std::uint64_t channel, std::int64_t timeMs) {
    const auto row = channels.get(channel);
    return row && row->hasTriggers && noteAlarms(*row, alarms.triggersOf(channel), {}, timeMs);
}

void Model::removeDevices(const std::vector<std::uint64_t>& subtree) {
    const auto time = velk::common::wallMs();
    for (const auto device : subtree) {
        for (const auto channel : channels.idsOf(device)) {
            clearAlarms(channel, time);
            cache.forget(channel);
        }
    }
    devices.remove(subtree);
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
    const auto before = alarms.triggersOf(channel);
    const auto time = velk::common::wallMs();
    if (auto* entry = cache.find(channel); entry != nullptr) {
        entry->triggers = triggers;
    }
    alarms.replace(channel, triggers);
    channels.setHasTriggers(channel, !triggers.empty());
    if (noteAlarms(*row, before, triggers, time)) {
        announceAlarms(row->device, time);
    }
}

void Model::setStates(std::uint64_t channel, const qz::CMultistateMap& states) {
    if (channels.typeOf(channel) != qz::datatype::unknown) {
        channels.setStates(channel, states);
    }
}

void Model::apply(const StoreWrites& writes) {
    for (const auto& [device, attribute, text] : writes.attributes) {
        setAttribute(device, static_cast<std::uint32_t>(attribute), text);
    }
    for (const auto& [channel, config] : writes.alarmConfigs) {
        if (!alarms.holds(channel, config)) {
            setAlarmConfig(channel, config);
        }
    }
    for (const auto& [channel, states] : writes.states) {
        if (!(channels.statesOf(channel) == states)) {
            setStates(channel, states);
        }
    }
    for (const auto& [channel, value] : writes.values) {
        setValue(channel, value);
    }
}

bool Model::hasOutdatedTypes() {
    const auto types = channels.typesByName();
    return std::any_of(types.begin(), types.end(),
                       [this](const auto& known) { return known.second != typeFor(known.first); });
}

void Model::retypeChannels() {
    for (const auto& row : channels.all()) {
        const auto type = typeFor(row.name);
        if (row.type == type) {
            continue;
        }
        channels.retype(row.id, type);
        const auto* entry = catalogue.find(row.name);
        channels.setStates(row.id, entry == nullptr ? qz::CMultistateMap{} : entry->labels);
        cache.forget(row.id);
        if (const auto time = velk::common::wallMs(); evaluate(row.id, *entryOf(row.id), time)) {
            announceAlarms(row.device, time);
        }
    }
}

} // namespace tessapi
