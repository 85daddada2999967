#include "powerdistribution/connectors/BaseChannelTessConnector.h"

#include "platform/common/UnexpectedIndex.h"
#include "platform/qz/subscription_type.h"
#include "platform/tessapi/InBandAccessor.h"
#include "powerdistribution/alarms/AlarmConversions.h"
#include "powerdistribution/core/PowerDistributionError.h"

#include <algorithm>
#include <exception>
#include <sstream>
#include <string>
#include <utility>

namespace velk::powerdistribution::connectors {

using handlers::HandlerData;
using velk::common::MutexLock;

namespace {

constexpr const char* channelPrefix = "PowerDistribution.";

[[noreturn]] void failUnsupported(const char* operation, qz::datatype type, std::uint64_t channel) {
    throw PowerDistributionError{std::string{"FATAL ERROR in BaseChannelTessConnector::"} + operation +
                                 " - Unsupported data type " + to_string(type) + " for TESS channel " +
                                 std::to_string(channel)};
}

[[noreturn]] void failUnexpectedType(const HandlerData& data, qz::datatype expected) {
    std::ostringstream text;
    text << "FATAL ERROR - " << data << " does not contains expected type (contains " << typeName(data.value)
         << ", expected " << to_string(expected) << ")";
    throw PowerDistributionError{text.str()};
}

std::string nameOf(const HandlerData& data) {
    return channelPrefix + data.path.lastNode().tostring();
}

// State names belong to channels whose triggers name states only.
bool namesStates(const AlarmConfig& config) {
    return std::none_of(config.triggers.begin(), config.triggers.end(), [](const Trigger& trigger) {
        return trigger.type == Trigger::Type::lower || trigger.type == Trigger::Type::upper ||
               trigger.type == Trigger::Type::inbetween;
    });
}

} // namespace

BaseChannelTessConnector::BaseChannelTessConnector(tessapi::ITessAccessor& storeAccessor,
                                                   const velk::common::Uuid& deviceUuid, unsigned int size,
                                                   StoreTrafficPtr sharedTraffic) :
    accessor{storeAccessor},
    traffic{std::move(sharedTraffic)},
    deviceId{traffic->devices.idOf(accessor, deviceUuid)},
    channels(size) {}

BaseChannelTessConnector::~BaseChannelTessConnector() {
    guard.close();
    try {
        BaseChannelTessConnector::terminate();
        MutexLock lock{subscriptionLock};
        unsubscribeToTess(lock);
    } catch (const std::exception&) {
        // A subscription that the store could not end calls a closed guard from now on, which is harmless.
    }
}

void BaseChannelTessConnector::expect(const HandlerData& data) {
    traffic->expected.expect(self(), nameOf(data));
    getChannel(data).isExpected = true;
}

void BaseChannelTessConnector::init() {}

void BaseChannelTessConnector::terminate() {
    clearCache();
    MutexLock lock{subscriptionLock};
    checkTessUnsubscription(lock);
}

void BaseChannelTessConnector::subscribe(const HandlerData& data, IConnectorListener* listener,
                                         const SubscriptionOptions& options) {
    // The tree is still being built: values that are read now would be forgotten until they are needed.
    ChannelInfo& info = getChannelOrEmplace(data, ExpectedChannels::Need::identifier);
    if (info.id == UNRESOLVED) {
        return;
    }
    traffic->writes.settleValue(info.id); // what was stored before is no news to the listener
    MutexLock lock{subscriptionLock};
    if (info.listener != nullptr) {
        throw PowerDistributionError{"Duplicate subscription to " + data.path.nodesToString() +
                                     " within the same TessChannelAccessor"};
    }
    subscribeToTess(lock, options.notifyEveryUpdate);
    info.listener = listener;
    if (listener != nullptr && options.notifyInitialValue) {
        HandlerData initial{data.path, {}, {}};
        load(info, initial);
        notifyListener(*listener, initial, lock);
    }
}

void BaseChannelTessConnector::unsubscribe(const HandlerData& data, IConnectorListener* listener) {
    ChannelInfo& info = getChannel(data);
    IConnectorListener* registered = nullptr;
    {
        MutexLock lock{subscriptionLock};
        registered = info.listener;
        // Required: after `terminate` the entry is unresolved and keeps its listener.
        if (info.id != UNRESOLVED && registered != nullptr) {
            info.listener = nullptr;
            checkTessUnsubscription(lock);
        }
    }
    guard.waitFor(registered);
    guard.waitFor(listener);
}

void BaseChannelTessConnector::load(HandlerData& data) const {
    load(getChannelOrEmplace(data), data);
}

void BaseChannelTessConnector::load(const ChannelInfo& info, HandlerData& data) const {
    const std::uint64_t id = info.id;
    if (id == UNRESOLVED) {
        return;
    }
    traffic->writes.settleValue(id);
    tessapi::InBandAccessor& inBand = accessor.inbandAccessor();
    if (!inBand.isChannelValueInitialized(id)) {
        data.value.reset();
        return;
    }
    data.value = getDataValue(info, inBand.getChannelCValue(id));
}

void BaseChannelTessConnector::store(const HandlerData& data) {
    const ChannelInfo& info = getChannelOrEmplace(data);
    const std::uint64_t id = info.id;
    if (id == UNRESOLVED) {
        return;
    }
    if (data.dataConfig.alarmConfigChanged) {
        setChannelAlarmConfiguration(id, data);
    }
    qz::CValue value;
    try {
        value = setDataValue(info, data.value);
    } catch (const velk::common::UnexpectedIndex&) {
        failUnexpectedType(data, info.type);
    }
    if (mayWait(info)) {
        traffic->writes.add(id, value);
        return;
    }
    traffic->writes.settle(id);
    accessor.inbandAccessor().setChannelCValue(id, value);
}

bool BaseChannelTessConnector::mayWait(const ChannelInfo& info) const {
    return traffic->writes.isOpenHere() && info.listener == nullptr && info.isExpected;
}

TessResources BaseChannelTessConnector::getResourcesInUse() const {
    TessResources resources;
    std::vector<std::uint64_t> ids = getChannelIds();
    for (const std::uint64_t id : traffic->expected.madeFor(self())) {
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) {
            ids.push_back(id);
        }
    }
    resources.add(deviceId, ids);
    return resources;
}

std::vector<std::uint64_t> BaseChannelTessConnector::getChannelIds() const {
    MutexLock lock{subscriptionLock};
    return getChannelIds(lock);
}

std::vector<std::uint64_t> BaseChannelTessConnector::getChannelIds(const MutexLock&) const {
    std::vector<std::uint64_t> ids;
    for (const ChannelInfo* info : channels.used()) {
        const std::uint64_t id = info->id;
        if (id != UNRESOLVED) {
            ids.push_back(id);
        }
    }
    return ids;
}

const BaseChannelTessConnector::ChannelInfo*
BaseChannelTessConnector::getChannelInfo(std::uint64_t id) const {
    MutexLock lock{channelLock};
    return findChannel(id);
}

const BaseChannelTessConnector::ChannelInfo* BaseChannelTessConnector::findChannel(std::uint64_t id) const {
    const std::vector<ChannelInfo*> used = channels.used();
    const auto entry =
        std::find_if(used.begin(), used.end(), [id](const ChannelInfo* info) { return info->id == id; });
    return entry == used.end() ? nullptr : *entry;
}

BaseChannelTessConnector::ChannelInfo& BaseChannelTessConnector::getChannel(const HandlerData& data) const {
    return channels.at(modelToIndex(data));
}

BaseChannelTessConnector::ChannelInfo&
BaseChannelTessConnector::getChannelOrEmplace(const HandlerData& data, ExpectedChannels::Need need) const {
    ChannelInfo& info = getChannel(data);
    if (info.id != UNRESOLVED) {
        return info;
    }
    const velk::common::SharedLock noCleaning{traffic->gate};
    MutexLock lock{channelLock};
    if (info.id == UNRESOLVED) {
        resolve(info, data, need);
    }
    return info;
}

void BaseChannelTessConnector::resolve(ChannelInfo& info, const HandlerData& data,
                                       ExpectedChannels::Need need) const {
    const std::uint64_t id = emplace(data, need);
    const qz::datatype type = accessor.inbandAccessor().getChannelDataType(id);
    // Before the entry is seen by others: the store has the triggers before the first value.
    setChannelAlarmConfiguration(id, data);
    info.data = HandlerData{data.path, {}, {}};
    info.type = type;
    info.id = id;
}

std::uint64_t BaseChannelTessConnector::emplace(const HandlerData& data, ExpectedChannels::Need need) const {
    tessapi::InBandAccessor& inBand = accessor.inbandAccessor();
    const std::string name = nameOf(data);
    const std::uint64_t id = traffic->expected.emplace(inBand, self(), name, need);
    return id == UNRESOLVED ? inBand.emplaceChannel(deviceId, name, data.dataConfig.channelOption) : id;
}

bool BaseChannelTessConnector::hasAnyChannelListener() const {
    MutexLock lock{channelLock};
    const std::vector<ChannelInfo*> used = channels.used();
    return used.size() < channels.size() ||
           std::any_of(used.begin(), used.end(),
                       [](const ChannelInfo* info) { return info->listener == nullptr; });
}

void BaseChannelTessConnector::clearCache() {
    MutexLock lock{channelLock};
    for (ChannelInfo* info : channels.used()) {
        info->id = UNRESOLVED;
    }
    traffic->expected.forget(self());
}

void BaseChannelTessConnector::setChannelAlarmConfiguration(std::uint64_t id, const HandlerData& data) const {
    if (!data.dataConfig.alarmConfig) {
        return;
    }
    const AlarmConfig& config = *data.dataConfig.alarmConfig;
    if (traffic->writes.isOpenHere()) {
        traffic->writes.add(id, toQz(config));
        if (namesStates(config)) {
            traffic->writes.add(id, makeMultiStateMap(config));
        }
        return;
    }
    traffic->writes.supersede(id, namesStates(config));
    tessapi::InBandAccessor& inBand = accessor.inbandAccessor();
    inBand.setChannelAlarmConfig(id, toQz(config));
    if (namesStates(config)) {
        inBand.setChannelMultistateMap(id, makeMultiStateMap(config));
    }
}

void BaseChannelTessConnector::subscribeToTess(const MutexLock& proof, bool notifyEveryUpdate) {
    unsubscribeToTess(proof);
    accessor.inbandAccessor().subscribeMultipleChannels(
        getChannelIds(proof),
        guard.guarded<std::uint64_t, qz::CValue>(
            [this](std::uint64_t id, const qz::CValue& value) { onChannelChange(id, value); }),
        notifyEveryUpdate ? qz::sub::everyWrite : qz::sub::changes, &subscriptionId);
}

void BaseChannelTessConnector::unsubscribeToTess(const MutexLock&) {
    if (subscriptionId != 0) {
        accessor.inbandAccessor().unsubscribe(subscriptionId);
        subscriptionId = 0;
    }
}

void BaseChannelTessConnector::checkTessUnsubscription(const MutexLock& proof) {
    if (hasAnyChannelListener()) {
        unsubscribeToTess(proof);
    }
}

Value BaseChannelTessConnector::getDataValue(const ChannelInfo& info, const qz::CValue& value) const {
    const qz::datatype type = info.type;
    switch (type) {
    case qz::datatype::boolean:
        return value.as_bool();
    case qz::datatype::int32:
        return value.as_int32();
    case qz::datatype::uint32:
        return value.as_uint32();
    case qz::datatype::float32:
        return value.as_float();
    case qz::datatype::timestamp:
        return conv::UnixTime{static_cast<std::uint32_t>(value.as_timestamp().seconds)};
    case qz::datatype::string:
        return value.as_string();
    default:
        failUnsupported("getDataValue", type, info.id);
    }
}

qz::CValue BaseChannelTessConnector::setDataValue(const ChannelInfo& info, const Value& value) const {
    const qz::datatype type = info.type;
    switch (type) {
    case qz::datatype::boolean:
        return qz::CValue{value.get<bool>()};
    case qz::datatype::int32:
        return qz::CValue{value.get<std::int32_t>()};
    case qz::datatype::uint32:
        return qz::CValue{value.get<std::uint32_t>()};
    case qz::datatype::float32:
        return qz::CValue{value.get<float>()};
    case qz::datatype::timestamp:
        return qz::CValue{qz::CTimestamp{value.get<conv::UnixTime>().toIntegralType(), "%F %T"}};
    case qz::datatype::string: {
        const EPath* path = value.getIf<EPath>();
        return qz::CValue{path != nullptr ? path->nodesToString() : value.get<std::string>()};
    }
    default:
        failUnsupported("setDataValue", type, info.id);
    }
}

bool BaseChannelTessConnector::notifyListener(IConnectorListener& listener, const HandlerData& data,
                                              MutexLock& lock) const {
    return guard.notify(listener, data, lock);
}

void BaseChannelTessConnector::onChannelChange(std::uint64_t id, const qz::CValue& value) const {
    MutexLock lock{subscriptionLock};
    IConnectorListener* listener = nullptr;
    HandlerData data;
    {
        // A path may be written anew when its channel is resolved again.
        MutexLock reading{channelLock};
        const ChannelInfo* info = findChannel(id);
        if (info == nullptr || info->listener == nullptr) {
            return;
        }
        listener = info->listener;
        data = HandlerData{info->data.path, getDataValue(*info, value), {}};
    }
    notifyListener(*listener, data, lock);
}

} // namespace velk::powerdistribution::connectors
