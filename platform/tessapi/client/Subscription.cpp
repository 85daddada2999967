#include "platform/tessapi/client/Subscription.h"

#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <utility>

namespace tessapi {

namespace {

using Kind = Change::Kind;

/// A channel that the catalogue gave another type has lost its value, which is no write.
bool isWrite(const Change& change) {
    return change.value.isValid() && !change.isRepeat;
}

Subscription::Objects keysOf(const std::map<std::uint64_t, qz::CValue>& values) {
    Subscription::Objects keys;
    keys.reserve(values.size());
    for (const auto& [key, _] : values) {
        keys.push_back(key);
    }
    return keys;
}

} // namespace

EveryWriteSubscription::EveryWriteSubscription(std::int64_t start, const std::vector<std::uint64_t>& channels,
                                               InBandAccessor::ChannelCallback call) :
    Subscription{start, Kind::value, channels}, callback{std::move(call)} {}

std::function<void()> EveryWriteSubscription::callFor(const Change& change, Engine& /*engine*/) {
    if (!isWrite(change)) {
        return {};
    }
    return [this, channel = change.object, value = change.value] { callback(channel, value); };
}

ChangesSubscription::ChangesSubscription(std::int64_t start, std::map<std::uint64_t, qz::CValue> present,
                                         InBandAccessor::ChannelCallback call) :
    Subscription{start, Kind::value, keysOf(present)},
    delivered{std::move(present)},
    callback{std::move(call)} {}

std::function<void()> ChangesSubscription::callFor(const Change& change, Engine& engine) {
    auto value = engine.valueOf(change.object);
    auto& last = delivered.at(change.object);
    if (!value.isValid() || ValueCodec::same(value, last)) {
        return {};
    }
    last = value;
    return [this, channel = change.object, value = std::move(value)] { callback(channel, value); };
}

AttributeSubscription::AttributeSubscription(std::int64_t start, std::uint64_t device,
                                             InBandAccessor::DeviceCallback call) :
    Subscription{start, Kind::attribute, Objects{device}}, callback{std::move(call)} {}

std::function<void()> AttributeSubscription::callFor(const Change& change, Engine& /*engine*/) {
    if (change.isRepeat) {
        return {};
    }
    return [this, device = change.object] { callback(device); };
}

AlarmSubscription::AlarmSubscription(std::int64_t start, std::uint64_t device,
                                     InBandAccessor::AlarmCallback call) :
    Subscription{start, Kind::alarms, Objects{device}}, callback{std::move(call)} {}

std::function<void()> AlarmSubscription::callFor(const Change& change, Engine& engine) {
    qz::CAlarmUpdate update;
    update.present = true;
    update.deviceId = change.object;
    if (change.value.isValid() && !change.isRepeat) {
        update.level = static_cast<LevelAlarm>(change.value.as_uint32());
    } else {
        const auto worst = engine.mostCriticalOf(change.object);
        update.level = worst ? worst->level : LevelAlarm::good;
    }
    if (change.isRepeat && update.level == told) {
        return {};
    }
    told = update.level;
    return [this, update] { callback(update); };
}

StoreSubscription::StoreSubscription(std::int64_t start, Callback call) :
    Subscription{start, Kind::value, std::nullopt}, callback{std::move(call)} {}

std::function<void()> StoreSubscription::callFor(const Change& change, Engine& /*engine*/) {
    if (!isWrite(change)) {
        return {};
    }
    return [this, write = ChannelWrite{change.object, change.value, change.timeMs}] { callback(write); };
}

} // namespace tessapi
