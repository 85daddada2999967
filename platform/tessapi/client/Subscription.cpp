#include "platform/tessapi/client/Subscription.h"

#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <utility>

namespace tessapi {

namespace {

using Kind = Change::Kind;

/// A channel that the catalogue gave another type has lost its value, which is no write.
bool isWrite(const Change& change) {
    return change.kind == Kind::value && change.value.isValid();
}

} // namespace

EveryWriteSubscription::EveryWriteSubscription(std::int64_t start, const std::vector<std::uint64_t>& channels,
                                               InBandAccessor::ChannelCallback call) :
    Subscription{start}, objects{channels.begin(), channels.end()}, callback{std::move(call)} {}

bool EveryWriteSubscription::wants(const Change& change) const {
    return isWrite(change) && objects.count(change.object) != 0;
}

std::function<void()> EveryWriteSubscription::callFor(const Change& change, Engine& /*engine*/) {
    return [this, channel = change.object, value = change.value] { callback(channel, value); };
}

ChangesSubscription::ChangesSubscription(std::int64_t start, std::map<std::uint64_t, qz::CValue> present,
                                         InBandAccessor::ChannelCallback call) :
    Subscription{start}, delivered{std::move(present)}, callback{std::move(call)} {}

bool ChangesSubscription::wants(const Change& change) const {
    return change.kind == Kind::value && delivered.count(change.object) != 0;
}

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
    Subscription{start}, object{device}, callback{std::move(call)} {}

bool AttributeSubscription::wants(const Change& change) const {
    return change.kind == Kind::attribute && change.object == object;
}

std::function<void()> AttributeSubscription::callFor(const Change& /*change*/, Engine& /*engine*/) {
    return [this] { callback(object); };
}

AlarmSubscription::AlarmSubscription(std::int64_t start, std::uint64_t device,
                                     InBandAccessor::AlarmCallback call) :
    Subscription{start}, object{device}, callback{std::move(call)} {}

bool AlarmSubscription::wants(const Change& change) const {
    return change.kind == Kind::alarms && change.object == object;
}

std::function<void()> AlarmSubscription::callFor(const Change& change, Engine& engine) {
    qz::CAlarmUpdate update;
    update.present = true;
    update.deviceId = object;
    if (change.value.isValid()) {
        update.level = static_cast<LevelAlarm>(change.value.as_uint32());
    } else {
        const auto worst = engine.mostCriticalOf(object);
        update.level = worst ? worst->level : LevelAlarm::good;
    }
    return [this, update] { callback(update); };
}

StoreSubscription::StoreSubscription(std::int64_t start, Callback call) :
    Subscription{start}, callback{std::move(call)} {}

bool StoreSubscription::wants(const Change& change) const {
    return isWrite(change);
}

std::function<void()> StoreSubscription::callFor(const Change& change, Engine& /*engine*/) {
    return [this, write = ChannelWrite{change.object, change.value, change.timeMs}] { callback(write); };
}

} // namespace tessapi
