#include "benchmarks/gateways/Site.h"

#include "platform/tessapi/LevelAlarm.h"
#include "platform/tessapi/catalogue/Catalogue.h"

#include <chrono>

namespace velk::benchmarks {

namespace {

using tessapi::ChannelRecord;
using velk::common::Uuid;

constexpr std::uint64_t DEVICE = 20;
constexpr std::size_t CHANNELS_OF_A_PART = 20;
constexpr float NEVER_REACHED = 1.0e9F;

/// Names of measures, as many as a part has.
std::vector<std::string> measures() {
    std::vector<std::string> names;
    for (const auto& [name, entry] : tessapi::Catalogue::builtin().entries()) {
        if (entry.type == qz::datatype::float32 && names.size() < CHANNELS_OF_A_PART) {
            names.push_back(name);
        }
    }
    return names;
}

/// As in a device that people watch, every tenth measure has a threshold.
qz::tess::CSingleAlarmConfig threshold() {
    qz::CAlarmTrigger trigger;
    trigger.level = tessapi::LevelAlarm::critical;
    trigger.type = 1;
    trigger.threshold1 = qz::CValue{NEVER_REACHED};
    trigger.code = "too-high";
    qz::tess::CSingleAlarmConfig config;
    config.triggers.push_back(trigger);
    return config;
}

qz::CDevice deviceOf(std::uint64_t id, std::uint64_t parent) {
    qz::CDevice device;
    device.id = id;
    device.parentId = parent;
    device.uuid = Uuid{Uuid::VELK_NAMESPACE, "gateway part " + std::to_string(id)};
    device.attributes.at(0) = "Part " + std::to_string(id);
    return device;
}

ChannelRecord channelOf(std::uint64_t id, std::uint64_t device, const std::string& name,
                        const qz::CValue& value) {
    ChannelRecord channel;
    channel.id = id;
    channel.deviceId = device;
    channel.name = name;
    channel.type = value.type().value_or(qz::datatype::string);
    channel.value = value;
    channel.initialized = true;
    channel.writtenMs = 1;
    channel.changedMs = 1;
    return channel;
}

} // namespace

std::int64_t nowNs() {
    return std::chrono::nanoseconds{std::chrono::steady_clock::now().time_since_epoch()}.count();
}

Site::Site(const std::string& url, std::size_t channelCount, std::size_t groupSize) :
    engine{tessapi::Engine::open(tessapi::StoreUrl{url}, true)}, channels{channelCount}, group{groupSize} {}

void Site::fill() {
    tessapi::StoreImage image;
    image.lastDevice = 1000 + channels / CHANNELS_OF_A_PART;
    image.lastChannel = 999 + channels;
    qz::CDevice root;
    root.id = 1;
    root.uuid = engine->uuidOf(1);
    image.content.devices = {root, deviceOf(DEVICE, 1)};
    image.content.channels.push_back(channelOf(STAMP, DEVICE, "Moment", qz::CValue{std::string{"0"}}));
    const std::vector<std::string> names = measures();
    for (std::size_t i = 0; i + 1 < channels; ++i) {
        const std::uint64_t part = 1000 + i / CHANNELS_OF_A_PART;
        const std::size_t inPart = i % CHANNELS_OF_A_PART;
        if (inPart == 0) {
            image.content.devices.push_back(deviceOf(part, DEVICE));
        }
        ChannelRecord channel = channelOf(STAMP + 1 + i, part, names.at(inPart), qz::CValue{230.0F});
        if (inPart % 10 == 0) {
            channel.alarmConfig = threshold();
        }
        image.content.channels.push_back(std::move(channel));
    }
    engine->fill(image);
}

void Site::write(std::int64_t moment) {
    std::vector<tessapi::Engine::ChannelValue> values;
    for (std::size_t i = 1; i < group; ++i) {
        next = next % (channels - 1) + 1;
        value += 0.1F;
        const qz::CValue measure{value};
        values.emplace_back(STAMP + next, measure);
    }
    const qz::CValue stamp{std::to_string(moment)};
    values.emplace_back(STAMP, stamp);
    engine->setValues(values);
}

} // namespace velk::benchmarks
