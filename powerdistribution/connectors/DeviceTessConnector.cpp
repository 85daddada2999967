#include "powerdistribution/connectors/DeviceTessConnector.h"

#include "platform/tessapi/DeviceAttribute.h"
#include "platform/tessapi/InBandAccessor.h"

#include <map>
#include <string>
#include <utility>

namespace velk::powerdistribution::connectors {

using handlers::HandlerData;
using velk::common::Uuid;

namespace {

constexpr std::uint64_t powerEquipmentDevice = 2;
constexpr std::uint64_t powerDistributionDevice = 20;

const std::map<EPath, std::uint64_t>& pathToDeviceId() {
    static const std::map<EPath, std::uint64_t> wanted{
        {EPath{ECircuit::PowerEquipment}, powerEquipmentDevice},
        {EPath{ECircuit::PowerDistribution}, powerDistributionDevice},
    };
    return wanted;
}

} // namespace

DeviceTessConnector::DeviceTessConnector(tessapi::ITessAccessor& storeAccessor, const Uuid& parent,
                                         StoreTrafficPtr sharedTraffic) :
    accessor{storeAccessor}, parentUuid{parent}, traffic{std::move(sharedTraffic)} {}

DeviceTessConnector::~DeviceTessConnector() = default;

void DeviceTessConnector::init() {}

void DeviceTessConnector::terminate() {}

void DeviceTessConnector::subscribe(const HandlerData&, IConnectorListener*, const SubscriptionOptions&) {}

void DeviceTessConnector::unsubscribe(const HandlerData&, IConnectorListener*) {}

void DeviceTessConnector::load(HandlerData& data) const {
    if (!initialized) {
        deviceId = getDeviceId(data);
    }
    const std::uint64_t id = deviceId;
    data = HandlerData{data.path, id == 0 ? Uuid::NIL : accessor.uuidOf(id), {}};
}

void DeviceTessConnector::store(const HandlerData& data) {
    if (!initialized) {
        emplace(data);
    }
    constexpr auto attribute = tessapi::DeviceAttribute::path;
    const std::string path = data.path.nodesToString();
    tessapi::InBandAccessor& inBand = accessor.inbandAccessor();
    traffic->writes.settle(deviceId, attribute);
    // Nobody may meet channels of a device that has no path yet.
    if (traffic->writes.isOpenHere() && inBand.getDeviceAttribute(deviceId, attribute) == path) {
        traffic->writes.add(deviceId, attribute, path);
        return;
    }
    inBand.setDeviceAttribute(deviceId, attribute, path);
}

void DeviceTessConnector::emplace(const HandlerData& data) {
    const velk::common::SharedLock noCleaning{traffic->gate};
    // Required: set first, so the first call counts as such also when it fails.
    initialized = true;
    deviceId = getDeviceId(data);
    const Uuid& uuid = data.value.get<Uuid>();
    const std::uint64_t parentId = accessor.deviceIdOf(parentUuid);
    deviceId = accessor.emplaceDevice(uuid, parentId, deviceId);
    traffic->devices.forget();
}

TessResources DeviceTessConnector::getResourcesInUse() const {
    TessResources resources;
    const std::uint64_t id = deviceId;
    if (initialized && id != 0 && id != tessapi::ITessAccessor::UNKNOWN_ID) {
        resources.add(id);
    }
    return resources;
}

std::uint64_t DeviceTessConnector::getDeviceId(const HandlerData& data) {
    const auto wanted = pathToDeviceId().find(data.path);
    return wanted == pathToDeviceId().end() ? 0 : wanted->second;
}

} // namespace velk::powerdistribution::connectors
