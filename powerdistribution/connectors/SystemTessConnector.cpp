#include "powerdistribution/connectors/SystemTessConnector.h"

#include "platform/qz/subscription_type.h"
#include "platform/tessapi/InBandAccessor.h"

#include <algorithm>
#include <array>
#include <exception>

namespace velk::powerdistribution::connectors {

using handlers::HandlerData;
using tessapi::DeviceAttribute;
using velk::common::MutexLock;

namespace {

constexpr unsigned int lastPrivateAction = 7;

/// The channel of the root device that holds this fact; null when it is none of them.
const char* channelNameOf(EPrivateAction action) {
    switch (action) {
    case EPrivateAction::SetIpv4Address:
        return "System.Ethernet.CurrentIpv4Address";
    case EPrivateAction::SetIpv6Address:
        return "System.Ethernet.CurrentIpv6Address";
    case EPrivateAction::SetMacAddress:
        return "System.Ethernet.MacAddress";
    default:
        return nullptr;
    }
}

} // namespace

SystemTessConnector::SystemTessConnector(tessapi::ITessAccessor& storeAccessor) : accessor{storeAccessor} {}

SystemTessConnector::~SystemTessConnector() {
    guard.close();
    try {
        terminate();
    } catch (const std::exception&) {
        // A subscription that the store could not end calls a closed guard from now on, which is harmless.
    }
}

void SystemTessConnector::init() {}

void SystemTessConnector::terminate() {
    MutexLock held{lock};
    unsubscribeToTess(held);
}

void SystemTessConnector::subscribe(const HandlerData& data, IConnectorListener* listener,
                                    const SubscriptionOptions& options) {
    MutexLock held{lock};
    if (getEntry(data, held) == nullptr) {
        return;
    }
    subscribeToTess(held);
    // The table may have grown, and with it moved.
    Entry* const entry = getEntry(data, held);
    if (entry == nullptr) {
        return;
    }
    entry->listener = listener;
    if (listener != nullptr && options.notifyInitialValue) {
        HandlerData initial{data.path, {}, {}};
        load(initial, held);
        notifyListener(*listener, initial, held);
    }
}

void SystemTessConnector::unsubscribe(const HandlerData& data, IConnectorListener* listener) {
    guard.waitFor(takeListener(data));
    guard.waitFor(listener);
}

IConnectorListener* SystemTessConnector::takeListener(const HandlerData& data) {
    MutexLock held{lock};
    const auto* action = data.path.lastNode().getIf<EPrivateAction>();
    // What is not in the table has no listener. The store is not asked: it may be away, and a handler that
    // goes cannot fail.
    Entry* const entry = action == nullptr ? nullptr : knownEntry(*action, held);
    return entry == nullptr ? nullptr : std::exchange(entry->listener, nullptr);
}

void SystemTessConnector::load(HandlerData& data) const {
    MutexLock held{lock};
    load(data, held);
}

void SystemTessConnector::load(HandlerData& data, const MutexLock& proof) const {
    const Entry* const entry = getEntry(data, proof);
    if (entry == nullptr || !entry->source) {
        return;
    }
    tessapi::InBandAccessor& inBand = accessor.inbandAccessor();
    if (const auto* channel = std::get_if<std::uint64_t>(&*entry->source)) {
        data.value = inBand.getChannelCValue(*channel).as_string();
    } else if (const auto* attribute = std::get_if<DeviceAttribute>(&*entry->source)) {
        data.value = inBand.getDeviceAttribute(deviceId, *attribute);
    }
}

void SystemTessConnector::store(const HandlerData&) {
    // Required: takes the lock and does nothing else, since nothing of the host is written.
    MutexLock held{lock};
}

TessResources SystemTessConnector::getResourcesInUse() const {
    return {};
}

SystemTessConnector::Entry* SystemTessConnector::knownEntry(EPrivateAction action, const MutexLock&) const {
    const auto known = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto& candidate) { return candidate.first == action; });
    return known == entries.end() ? nullptr : &known->second;
}

SystemTessConnector::Entry* SystemTessConnector::getEntry(EPrivateAction action,
                                                          const MutexLock& proof) const {
    if (Entry* const known = knownEntry(action, proof)) {
        return known;
    }
    const std::optional<Source> source = findSource(action);
    if (!source) {
        return nullptr;
    }
    entries.emplace_back(action, Entry{source, nullptr});
    return &entries.back().second;
}

SystemTessConnector::Entry* SystemTessConnector::getEntry(const HandlerData& data,
                                                          const MutexLock& proof) const {
    const auto* action = data.path.lastNode().getIf<EPrivateAction>();
    return action == nullptr ? nullptr : getEntry(*action, proof);
}

std::optional<SystemTessConnector::Source> SystemTessConnector::findSource(EPrivateAction action) const {
    if (action == EPrivateAction::SetFirmwareVersion) {
        return DeviceAttribute::firmwareVersion;
    }
    if (action == EPrivateAction::SetProductName) {
        return DeviceAttribute::productName;
    }
    const char* const name = channelNameOf(action);
    if (name == nullptr) {
        return std::nullopt;
    }
    const std::uint64_t channel = accessor.inbandAccessor().getCatchedChannelId(deviceId, name);
    return channel == tessapi::ITessAccessor::UNKNOWN_ID ? std::nullopt : std::optional<Source>{channel};
}

void SystemTessConnector::subscribeToTess(const MutexLock& proof) {
    if (deviceSubscriptionId != 0 || channelSubscriptionId != 0) {
        return;
    }
    for (unsigned int action = 1; action <= lastPrivateAction; ++action) {
        getEntry(static_cast<EPrivateAction>(action), proof);
    }
    tessapi::InBandAccessor& inBand = accessor.inbandAccessor();
    inBand.subscribeDevice(deviceId,
                           guard.guarded<std::uint64_t>([this](std::uint64_t id) { onDeviceChange(id); }),
                           qz::sub::attributes, false, &deviceSubscriptionId);
    std::vector<std::uint64_t> channels;
    for (const auto& [action, entry] : entries) {
        if (const auto* channel = std::get_if<std::uint64_t>(&*entry.source)) {
            channels.push_back(*channel);
        }
    }
    inBand.subscribeMultipleChannels(
        channels, guard.guarded<std::uint64_t, qz::CValue>([this](std::uint64_t id, const qz::CValue& value) {
            onChannelChange(id, value);
        }),
        qz::sub::changes, &channelSubscriptionId);
}

void SystemTessConnector::unsubscribeToTess(const MutexLock&) {
    for (std::uint64_t* const subscription : {&deviceSubscriptionId, &channelSubscriptionId}) {
        if (*subscription != 0) {
            accessor.inbandAccessor().unsubscribe(*subscription);
            *subscription = 0;
        }
    }
}

HandlerData SystemTessConnector::dataOf(EPrivateAction action, std::string text) const {
    return {basePath + EPath::Node{action}, std::move(text), {}};
}

bool SystemTessConnector::notifyListener(IConnectorListener& listener, const HandlerData& data,
                                         MutexLock& held) const {
    return guard.notify(listener, data, held);
}

void SystemTessConnector::onDeviceChange(std::uint64_t id) {
    if (id != deviceId) {
        return;
    }
    MutexLock held{lock};
    // By index, since the table may grow while a listener runs.
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const auto& [action, entry] = entries[index];
        const auto* attribute = std::get_if<DeviceAttribute>(&*entry.source);
        if (entry.listener == nullptr || attribute == nullptr) {
            continue;
        }
        const HandlerData change =
            dataOf(action, accessor.inbandAccessor().getDeviceAttribute(deviceId, *attribute));
        if (!notifyListener(*entry.listener, change, held)) {
            return;
        }
    }
}

void SystemTessConnector::onChannelChange(std::uint64_t id, const qz::CValue& value) {
    MutexLock held{lock};
    const auto changed = std::find_if(entries.begin(), entries.end(), [&](const auto& candidate) {
        return candidate.second.listener != nullptr && candidate.second.source == Source{id};
    });
    if (changed == entries.end()) {
        return;
    }
    const HandlerData change = dataOf(changed->first, value.as_string());
    notifyListener(*changed->second.listener, change, held);
}

} // namespace velk::powerdistribution::connectors
