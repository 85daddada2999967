#include "powerdistribution/connectors/DeviceAttributeTessConnector.h"

#include "platform/qz/subscription_type.h"
#include "platform/tessapi/InBandAccessor.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace velk::powerdistribution::connectors {

using handlers::HandlerData;
using velk::common::MutexLock;

namespace {

using tessapi::DeviceAttribute;

constexpr unsigned int attributeFamilySize = 18;

struct ServedAttribute {
    EAttribute member;
    DeviceAttribute attribute;
};

// Members that are not here are channels.
// clang-format off
constexpr auto servedByDevice = std::to_array<ServedAttribute>({
    {EAttribute::FirmwareVersion, DeviceAttribute::firmwareVersion},
    {EAttribute::FriendlyName,    DeviceAttribute::friendlyName},
    {EAttribute::HardwareVersion, DeviceAttribute::hardwareVersion},
    {EAttribute::Location,        DeviceAttribute::location},
    {EAttribute::Model,           DeviceAttribute::model},
    {EAttribute::PhysicalName,    DeviceAttribute::physicalName},
    {EAttribute::ProductName,     DeviceAttribute::productName},
    {EAttribute::SerialNumber,    DeviceAttribute::serialNumber},
    {EAttribute::Vendor,          DeviceAttribute::vendor},
});
// clang-format on

/// Empty when the member is a channel. Throws as told at `DeviceAttributeTessConnector`.
std::optional<DeviceAttribute> attributeOf(const HandlerData& data) {
    const auto* member = data.path.lastNode().getIf<EAttribute>();
    if (member == nullptr) {
        throw std::runtime_error{"Data model object contains invalid data type"};
    }
    const auto served = std::find_if(servedByDevice.begin(), servedByDevice.end(),
                                     [&](const ServedAttribute& row) { return row.member == *member; });
    return served == servedByDevice.end() ? std::nullopt : std::optional{served->attribute};
}

EPath pathOf(DeviceAttribute attribute) {
    const auto served =
        std::find_if(servedByDevice.begin(), servedByDevice.end(),
                     [attribute](const ServedAttribute& row) { return row.attribute == attribute; });
    return served == servedByDevice.end() ? EPath{} : EPath{served->member};
}

} // namespace

DeviceAttributeTessConnector::DeviceAttributeTessConnector(tessapi::ITessAccessor& storeAccessor,
                                                           const velk::common::Uuid& deviceUuid,
                                                           StoreTrafficPtr sharedTraffic) :
    accessor{storeAccessor},
    traffic{std::move(sharedTraffic)},
    deviceId{traffic->devices.idOf(accessor, deviceUuid)},
    channels{accessor, deviceUuid, attributeFamilySize, traffic} {
    for (const ServedAttribute& row : servedByDevice) {
        attributes.at(static_cast<std::size_t>(row.attribute)).attribute = row.attribute;
    }
}

DeviceAttributeTessConnector::~DeviceAttributeTessConnector() {
    guard.close();
    try {
        terminate();
    } catch (const std::exception&) {
        // A subscription that the store could not end calls a closed guard from now on, which is harmless.
    }
}

void DeviceAttributeTessConnector::expect(const HandlerData& data) {
    if (!attributeOf(data)) {
        channels.expect(data);
    }
}

void DeviceAttributeTessConnector::init() {}

void DeviceAttributeTessConnector::terminate() {
    channels.terminate();
    MutexLock held{lock};
    for (AttributeInfo& info : attributes) {
        info.listener = nullptr;
        info.data.reset();
    }
    checkTessUnsubscription(held);
}

void DeviceAttributeTessConnector::subscribe(const HandlerData& data, IConnectorListener* listener,
                                             const SubscriptionOptions& options) {
    const std::optional<DeviceAttribute> attribute = attributeOf(data);
    if (!attribute) {
        channels.subscribe(data, listener, options);
        return;
    }
    MutexLock held{lock};
    AttributeInfo& info = infoOf(*attribute);
    subscribeToTess(held);
    info.listener = listener;
    refresh(info);
    if (options.notifyInitialValue && listener != nullptr) {
        const HandlerData initial = dataOf(info);
        notifyListener(*listener, initial, held);
    }
}

void DeviceAttributeTessConnector::unsubscribe(const HandlerData& data, IConnectorListener* listener) {
    if (const std::optional<DeviceAttribute> attribute = attributeOf(data)) {
        guard.waitFor(takeListener(*attribute));
        guard.waitFor(listener);
    }
    channels.unsubscribe(data, listener);
}

IConnectorListener* DeviceAttributeTessConnector::takeListener(DeviceAttribute attribute) {
    MutexLock held{lock};
    AttributeInfo& info = infoOf(attribute);
    IConnectorListener* const registered = std::exchange(info.listener, nullptr);
    if (registered != nullptr) {
        checkTessUnsubscription(held);
    }
    return registered;
}

void DeviceAttributeTessConnector::load(HandlerData& data) const {
    const std::optional<DeviceAttribute> attribute = attributeOf(data);
    if (!attribute) {
        channels.load(data);
        return;
    }
    MutexLock held{lock};
    AttributeInfo& info = infoOf(*attribute);
    refresh(info);
    data.value = dataOf(info).value;
}

void DeviceAttributeTessConnector::store(const HandlerData& data) {
    const std::optional<DeviceAttribute> attribute = attributeOf(data);
    if (!attribute) {
        channels.store(data);
        return;
    }
    const std::string& text = data.value.get<std::string>();
    MutexLock held{lock};
    AttributeInfo& info = infoOf(*attribute);
    dataOf(info).value = text;
    if (traffic->writes.isOpenHere() && info.listener == nullptr) {
        traffic->writes.add(deviceId, *attribute, text);
        return;
    }
    traffic->writes.settle(deviceId, *attribute);
    accessor.inbandAccessor().setDeviceAttribute(deviceId, *attribute, text);
}

TessResources DeviceAttributeTessConnector::getResourcesInUse() const {
    TessResources resources;
    resources.add(deviceId);
    resources.add(channels.getResourcesInUse());
    return resources;
}

DeviceAttributeTessConnector::AttributeInfo&
DeviceAttributeTessConnector::infoOf(DeviceAttribute attribute) const {
    return attributes.at(static_cast<std::size_t>(attribute));
}

HandlerData& DeviceAttributeTessConnector::dataOf(AttributeInfo& info) {
    if (info.data == nullptr) {
        info.data = std::make_unique<HandlerData>(pathOf(info.attribute), Value{}, protocols::DataConfig{});
    }
    return *info.data;
}

void DeviceAttributeTessConnector::refresh(AttributeInfo& info) const {
    traffic->writes.settle(deviceId, info.attribute);
    dataOf(info).value = accessor.inbandAccessor().getDeviceAttribute(deviceId, info.attribute);
}

void DeviceAttributeTessConnector::subscribeToTess(const MutexLock&) {
    if (subscriptionId == 0) {
        accessor.inbandAccessor().subscribeDevice(
            deviceId, guard.guarded<std::uint64_t>([this](std::uint64_t id) { onDeviceSettingsChange(id); }),
            qz::sub::attributes, false, &subscriptionId);
    }
}

void DeviceAttributeTessConnector::unsubscribeToTess(const MutexLock&) {
    if (subscriptionId != 0) {
        accessor.inbandAccessor().unsubscribe(subscriptionId);
        subscriptionId = 0;
    }
}

bool DeviceAttributeTessConnector::hasAnyAttributeListener(const MutexLock&) const {
    return std::any_of(attributes.begin(), attributes.end(),
                       [](const AttributeInfo& info) { return info.listener == nullptr; });
}

void DeviceAttributeTessConnector::checkTessUnsubscription(const MutexLock& proof) {
    if (hasAnyAttributeListener(proof)) {
        unsubscribeToTess(proof);
    }
}

bool DeviceAttributeTessConnector::notifyListener(IConnectorListener& listener, const HandlerData& data,
                                                  MutexLock& held) const {
    return guard.notify(listener, data, held);
}

void DeviceAttributeTessConnector::onDeviceSettingsChange(std::uint64_t id) {
    if (id != deviceId) {
        return;
    }
    MutexLock held{lock};
    const qz::CDevice device = accessor.inbandAccessor().getDevice(deviceId);
    for (AttributeInfo& info : attributes) {
        if (info.listener == nullptr) {
            continue;
        }
        const Value text{accessor.inbandAccessor().getDeviceAttribute(device, info.attribute)};
        HandlerData& known = dataOf(info);
        if (known.value == text) {
            continue;
        }
        known.value = text;
        const HandlerData change = known;
        if (!notifyListener(*info.listener, change, held)) {
            return;
        }
    }
}

} // namespace velk::powerdistribution::connectors
