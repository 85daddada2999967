#include "tests/scenarios/StoreEye.h"

#include "platform/tessapi/DeviceAttribute.h"
#include "platform/tessapi/InBandAccessor.h"

#include <stdexcept>
#include <string_view>

namespace velk::scenarios {

namespace {

constexpr std::uint64_t POWER_DISTRIBUTION = 20;
constexpr std::string_view PREFIX{"PowerDistribution."};

std::string placeOf(const qz::CDevice& device) {
    if (device.id == POWER_DISTRIBUTION) {
        return "";
    }
    const std::string& place = device.attributes.at(static_cast<std::size_t>(tessapi::DeviceAttribute::path));
    return place.empty() ? "#" + std::to_string(device.id) : place;
}

std::string pathOf(const std::string& place, const std::string& channelName) {
    const bool isOurs = channelName.rfind(PREFIX, 0) == 0;
    const std::string name = isOurs ? channelName.substr(PREFIX.size()) : channelName;
    return place.empty() ? name : place + "." + name;
}

} // namespace

tessapi::TessAccessor& StoreEye::client() {
    if (accessor == nullptr) {
        accessor = tessapi::TessAccessor::open("eye", url);
    }
    return *accessor;
}

StorePicture StoreEye::look() {
    const tessapi::StoreSnapshot store = client().browser().snapshot();
    StorePicture picture;
    std::map<std::uint64_t, std::string> shown;
    for (const qz::CDevice& device : store.devices) {
        const std::string place = placeOf(device);
        if (const auto known = picture.devices.find(place); known != picture.devices.end()) {
            picture.doubles.insert(place);
            shown.erase(known->second.id);
        }
        picture.devices.insert_or_assign(place, device);
        shown[device.id] = place;
    }
    for (const tessapi::ChannelRecord& channel : store.channels) {
        if (const auto place = shown.find(channel.deviceId); place != shown.end()) {
            picture.channels.emplace(pathOf(place->second, channel.name), channel);
        }
    }
    return picture;
}

void StoreEye::write(const std::string& path, const qz::CValue& value) {
    const StorePicture now = look();
    const auto channel = now.channels.find(path);
    if (channel == now.channels.end()) {
        throw std::runtime_error{"the store has no " + path};
    }
    client().inbandAccessor().setChannelCValue(channel->second.id, value);
}

} // namespace velk::scenarios
