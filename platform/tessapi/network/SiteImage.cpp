#include "platform/tessapi/network/SiteImage.h"

#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/network/BadData.h"
#include "platform/tessapi/network/Packer.h"
#include "platform/tessapi/network/SiteCodec.h"

#include <algorithm>
#include <charconv>
#include <tuple>
#include <unordered_map>

namespace tessapi {

namespace {

/// What a hash of the site has for a device or channel.
using Hash = std::unordered_map<std::uint64_t, std::string_view>;

std::uint64_t idIn(std::string_view text) {
    std::uint64_t id = 0;
    const auto [stop, failure] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (failure != std::errc{}) {
        throw BadData{"the identifier " + std::string{text}};
    }
    return id;
}

/// Calls `visit` with each field and its content.
template <class Visit>
void forEach(ReplyView hash, Visit visit) {
    for (std::size_t i = 0; i + 1 < hash.size(); i += 2) {
        visit(hash.at(i).text(), hash.at(i + 1).text());
    }
}

Hash hashOf(ReplyView fields) {
    Hash hash;
    hash.reserve(fields.size() / 2);
    forEach(fields, [&](auto field, auto content) { hash.emplace(idIn(field), content); });
    return hash;
}

std::string_view find(const Hash& hash, std::uint64_t id) {
    const auto found = hash.find(id);
    return found == hash.end() ? std::string_view{} : found->second;
}

std::vector<qz::CDevice> devicesOf(ReplyView devices, ReplyView attributes) {
    std::vector<qz::CDevice> all;
    std::unordered_map<std::uint64_t, std::size_t> places;
    forEach(devices,
            [&](auto field, auto content) { all.push_back(SiteCodec::unpackDevice(idIn(field), content)); });
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    for (const auto& device : all) {
        places.emplace(device.id, places.size());
    }
    forEach(attributes, [&](auto field, auto content) {
        const auto number = idIn(field.substr(field.find(':') + 1));
        const auto place = places.find(idIn(field));
        if (place == places.end() || number >= qz::CDevice::ATTRIBUTE_COUNT) {
            throw BadData{"the attribute " + std::string{field}};
        }
        all[place->second].attributes[number] = content;
    });
    return all;
}

/// Most critical first, by the same rule as for a device.
bool moreCritical(const ActiveAlarm& a, const ActiveAlarm& b) {
    const auto rank = [](const ActiveAlarm& alarm) {
        return std::tuple{-static_cast<std::int64_t>(alarm.level), alarm.priority < 0, alarm.priority};
    };
    return rank(a) < rank(b);
}

void addAlarms(ChannelRecord& record, std::string_view packed) {
    for (auto& [trigger, active] : SiteCodec::unpackTriggers(packed)) {
        if (active) {
            record.activeAlarms.push_back({true, trigger.level, trigger.priority, trigger.code, record.id});
        }
        record.alarmConfig.triggers.push_back(std::move(trigger));
    }
    std::stable_sort(record.activeAlarms.begin(), record.activeAlarms.end(), moreCritical);
}

void addRow(ChannelRecord& record, std::string_view packed) {
    auto row = SiteCodec::unpackRow(packed);
    record.type = row.type;
    record.initialized = row.value.isValid();
    record.value = std::move(row.value);
    record.writtenMs = row.writtenMs;
    record.changedMs = row.changedMs;
}

void addNames(ChannelRecord& record, std::string_view packed, const Catalogue& catalogue) {
    auto info = SiteCodec::unpackInfo(packed);
    record.deviceId = info.device;
    record.name = std::move(info.name);
    if (const auto* entry = catalogue.find(record.name); entry != nullptr) {
        record.unit = entry->unit;
        record.description = entry->description;
        record.commonStates = entry->labels;
    }
}

const std::string& descriptionOf(const std::string& name, const Catalogue& catalogue) {
    static const std::string none;
    const auto* entry = catalogue.find(name);
    return entry == nullptr ? none : entry->description;
}

void addChannel(Command& command, const ChannelRecord& record, const Catalogue& catalogue) {
    command.add(record.id).add(record.deviceId).add(record.name);
    command.add(static_cast<std::uint32_t>(record.type)).add(descriptionOf(record.name, catalogue));
    Packer times;
    times.number(record.changedMs).number(std::int64_t{0}).number(record.writtenMs).value(record.value);
    command.add(times.take()).add(SiteCodec::packStates(record.states));
    command.add(SiteCodec::packTriggers(record.alarmConfig));
}

} // namespace

StoreSnapshot SiteImage::snapshotOf(ReplyView answer, const Catalogue& catalogue) {
    StoreSnapshot store;
    store.ofSeveralMachines = true;
    store.devices = devicesOf(answer.at(0), answer.at(1));
    const auto infos = hashOf(answer.at(2));
    const auto states = hashOf(answer.at(4));
    const auto alarms = hashOf(answer.at(5));
    forEach(answer.at(3), [&](auto field, auto row) {
        ChannelRecord record;
        record.id = idIn(field);
        addRow(record, row);
        addNames(record, find(infos, record.id), catalogue);
        record.states = SiteCodec::unpackStates(find(states, record.id));
        addAlarms(record, find(alarms, record.id));
        store.channels.push_back(std::move(record));
    });
    std::sort(store.channels.begin(), store.channels.end(), [](const auto& a, const auto& b) {
        return std::tie(a.deviceId, a.id) < std::tie(b.deviceId, b.id);
    });
    return store;
}

StoreImage SiteImage::imageOf(ReplyView answer, const Catalogue& catalogue) {
    StoreImage whole;
    whole.content = snapshotOf(answer, catalogue);
    whole.lastDevice = answer.at(6).at(0).id();
    whole.lastChannel = answer.at(6).at(1).id();
    const auto events = answer.at(7);
    for (std::size_t i = 0; i < events.size(); ++i) {
        whole.alarmEvents.push_back(SiteCodec::unpackEvent(SiteCodec::numberOf(events.at(i).at(0).text()),
                                                           events.at(i).at(1).at(1).text()));
    }
    const auto records = answer.at(8);
    for (std::size_t i = 0; i < records.size(); ++i) {
        whole.writeRecords.push_back(SiteCodec::unpackRecord(SiteCodec::numberOf(records.at(i).at(0).text()),
                                                             records.at(i).at(1).at(1).text()));
    }
    return whole;
}

void SiteImage::addTo(Command& command, const StoreImage& image, const Catalogue& catalogue) {
    Command devices;
    Command attributes;
    std::uint64_t deviceCount = 0;
    std::uint64_t attributeCount = 0;
    for (const auto& device : image.content.devices) {
        if (device.id != ITessAccessor::ROOT_DEVICE) {
            const auto& uuid = device.uuid.data();
            devices.add(device.id).add(std::string{uuid.begin(), uuid.end()}).add(device.parentId);
            ++deviceCount;
        }
        for (std::size_t number = 0; number < device.attributes.size(); ++number) {
            if (!device.attributes[number].empty()) {
                attributes.add(std::to_string(device.id) + ":" + std::to_string(number));
                attributes.add(device.attributes[number]);
                ++attributeCount;
            }
        }
    }
    command.add(image.lastDevice).add(image.lastChannel).add(deviceCount).add(attributeCount);
    command.add(std::uint64_t{image.content.channels.size()}).add(std::uint64_t{image.alarmEvents.size()});
    command.add(std::uint64_t{image.writeRecords.size()}).append(devices).append(attributes);
    for (const auto& record : image.content.channels) {
        addChannel(command, record, catalogue);
    }
    for (const auto& event : image.alarmEvents) {
        command.add(event.number).add(SiteCodec::packEvent(event));
    }
    for (const auto& record : image.writeRecords) {
        command.add(record.number).add(SiteCodec::packRecord(record));
    }
}

} // namespace tessapi
