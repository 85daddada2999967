#include "platform/tessapi/network/SiteCodec.h"

#include "platform/tessapi/network/BadData.h"
#include "platform/tessapi/network/Packer.h"
#include "platform/tessapi/network/Unpacker.h"

#include <charconv>

namespace tessapi {

std::string SiteCodec::packChange(const Change& change) {
    return Packer{}
        .number(static_cast<std::uint8_t>(change.kind))
        .number(change.object)
        .number(change.timeMs)
        .value(change.value)
        .take();
}

std::vector<Change> SiteCodec::unpackChanges(std::string_view packed, std::int64_t last) {
    std::vector<Change> changes;
    Unpacker from{packed};
    while (!from.isAtEnd()) {
        Change change;
        change.kind = static_cast<Change::Kind>(from.number<std::uint8_t>());
        change.object = from.number<std::uint64_t>();
        change.timeMs = from.number<std::int64_t>();
        change.value = from.value();
        changes.push_back(std::move(change));
    }
    auto seq = last - static_cast<std::int64_t>(changes.size());
    for (auto& change : changes) {
        change.seq = ++seq;
    }
    return changes;
}

SiteCodec::Row SiteCodec::unpackRow(std::string_view packed) {
    Unpacker from{packed};
    Row row;
    row.type = static_cast<qz::datatype>(from.number<std::uint8_t>());
    if (from.number<std::uint8_t>() != 0) {
        from.take(2 * sizeof(double)); // of use to the server only
    }
    row.changedMs = from.number<std::int64_t>();
    row.seq = from.number<std::int64_t>();
    row.writtenMs = from.number<std::int64_t>();
    row.value = from.value();
    return row;
}

SiteCodec::ChannelInfo SiteCodec::unpackInfo(std::string_view packed) {
    Unpacker from{packed};
    ChannelInfo info;
    info.device = from.number<std::uint64_t>();
    info.description = from.text();
    info.name = from.remainder();
    return info;
}

std::string SiteCodec::packTriggers(const qz::tess::CSingleAlarmConfig& config) {
    Packer to;
    for (const auto& trigger : config.triggers) {
        to.number(static_cast<std::uint32_t>(trigger.level)).number(trigger.type).number(trigger.priority);
        to.number(trigger.extraWord).number(std::uint8_t{0}); // the server says whether it is active
        to.value(trigger.threshold1).value(trigger.threshold2).text(trigger.code).value(trigger.extra);
    }
    return to.take();
}

std::vector<SiteCodec::Trigger> SiteCodec::unpackTriggers(std::string_view packed) {
    std::vector<Trigger> triggers;
    Unpacker from{packed};
    while (!from.isAtEnd()) {
        qz::CAlarmTrigger trigger;
        trigger.level = static_cast<LevelAlarm>(from.number<std::uint32_t>());
        trigger.type = from.number<std::int8_t>();
        trigger.priority = from.number<std::int32_t>();
        trigger.extraWord = from.number<std::uint32_t>();
        const bool active = from.number<std::uint8_t>() != 0;
        trigger.threshold1 = from.value();
        trigger.threshold2 = from.value();
        trigger.code = from.text();
        trigger.extra = from.value();
        triggers.emplace_back(std::move(trigger), active);
    }
    return triggers;
}

std::string SiteCodec::packStates(const qz::CMultistateMap& states) {
    Packer to;
    for (const auto& [key, name] : states.entries()) {
        to.value(key).text(name);
    }
    return to.take();
}

qz::CMultistateMap SiteCodec::unpackStates(std::string_view packed) {
    qz::CMultistateMap states;
    Unpacker from{packed};
    while (!from.isAtEnd()) {
        const auto key = from.value();
        states.add(key, from.text());
    }
    return states;
}

std::string SiteCodec::packEvent(const AlarmEvent& event) {
    Packer to;
    to.number(event.timeMs).number(static_cast<std::uint8_t>(event.raised));
    to.number(event.device).number(event.channel);
    to.number(static_cast<std::uint32_t>(event.level)).number(event.priority).number(event.type);
    to.text(event.place).text(event.name).text(event.code).text(event.message);
    return to.value(event.value).value(event.threshold1).value(event.threshold2).take();
}

AlarmEvent SiteCodec::unpackEvent(std::int64_t number, std::string_view packed) {
    Unpacker from{packed};
    AlarmEvent event;
    event.number = number;
    event.timeMs = from.number<std::int64_t>();
    event.raised = from.number<std::uint8_t>() != 0;
    event.device = from.number<std::uint64_t>();
    event.channel = from.number<std::uint64_t>();
    event.level = static_cast<LevelAlarm>(from.number<std::uint32_t>());
    event.priority = from.number<std::int32_t>();
    event.type = from.number<std::int8_t>();
    event.place = from.text();
    event.name = from.text();
    event.code = from.text();
    event.message = from.text();
    event.value = from.value();
    event.threshold1 = from.value();
    event.threshold2 = from.value();
    return event;
}

std::string SiteCodec::packRecord(const WriteRecord& record) {
    Packer to;
    to.number(record.timeMs).text(record.program).text(record.user);
    return to.text(record.path).text(record.asked).text(record.result).take();
}

WriteRecord SiteCodec::unpackRecord(std::int64_t number, std::string_view packed) {
    Unpacker from{packed};
    WriteRecord record;
    record.number = number;
    record.timeMs = from.number<std::int64_t>();
    record.program = from.text();
    record.user = from.text();
    record.path = from.text();
    record.asked = from.text();
    record.result = from.text();
    return record;
}

qz::CDevice SiteCodec::unpackDevice(std::uint64_t id, std::string_view packed) {
    Unpacker from{packed};
    const auto uuid = from.take(std::tuple_size_v<velk::common::Uuid::Bytes>);
    qz::CDevice device;
    device.id = id;
    device.uuid = velk::common::Uuid{velk::common::BinaryBlock{uuid.begin(), uuid.end()}};
    device.parentId = from.number<std::uint64_t>();
    return device;
}

std::int64_t SiteCodec::numberOf(std::string_view streamId) {
    std::int64_t number = 0;
    const auto* end = streamId.data() + streamId.size();
    const auto [stop, failure] = std::from_chars(streamId.data(), end, number);
    if (failure != std::errc{} || stop == end || *stop != '-') {
        throw BadData{"the identifier " + std::string{streamId}};
    }
    return number;
}

} // namespace tessapi
