#include "platform/tessapi/StoreImageCheck.h"

#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/RootDevice.h"

#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace tessapi {

namespace {

using Text = std::optional<std::string>;
using Part = ImageFault::Part;

constexpr auto ROOT = ITessAccessor::ROOT_DEVICE;
/// 2^53 - 1, the greatest that every program reads from JSON and every engine counts with as it stands, with
/// more than any store needs left above what is given next.
constexpr std::uint64_t GREATEST_ID = 9'007'199'254'740'991U;
constexpr std::uint64_t FIRST_GIVEN_ID = 1000;

std::string decimal(std::uint64_t number) {
    return std::to_string(number);
}

/// What an identifier of a device or a channel must be, by itself.
Text idFault(std::uint64_t id, std::uint64_t lastGiven, const char* lastName) {
    if (id == 0 || id > GREATEST_ID) {
        return "an identifier is from 1 to " + decimal(GREATEST_ID);
    }
    if (id >= FIRST_GIVEN_ID && id > lastGiven) {
        return "the identifier " + decimal(id) + " is greater than " + lastName + " (" + decimal(lastGiven) +
               ")";
    }
    return std::nullopt;
}

class DeviceCheck {
public:
    explicit DeviceCheck(const StoreImage& whole) : image{whole} {}

    std::optional<ImageFault> run() {
        const auto& devices = image.content.devices;
        for (std::size_t i = 0; i < devices.size(); ++i) {
            if (auto fault = ownFault(devices[i])) {
                return ImageFault{Part::device, i, std::move(*fault)};
            }
        }
        if (parents.count(ROOT) == 0) {
            return ImageFault{Part::image, 0, "there is no device 1, the root of every store"};
        }
        for (std::size_t i = 0; i < devices.size(); ++i) {
            if (auto fault = placeFault(devices[i])) {
                return ImageFault{Part::device, i, std::move(*fault)};
            }
        }
        return std::nullopt;
    }

    bool isThere(std::uint64_t device) const { return parents.count(device) != 0; }

private:
    Text ownFault(const qz::CDevice& device) {
        if (auto fault = idFault(device.id, image.lastDevice, "lastDevice")) {
            return fault;
        }
        if (!parents.emplace(device.id, device.parentId).second) {
            return "the device " + decimal(device.id) + " is there twice";
        }
        if (device.uuid.isNil()) {
            return "a device has a Uuid that is not nil";
        }
        if (!uuids.insert(device.uuid).second) {
            return "the Uuid " + device.uuid.toString() + " is there twice";
        }
        if (device.id == ROOT && device.uuid != ROOT_UUID) {
            return "the root of a store has the Uuid " + ROOT_UUID.toString();
        }
        if (device.id == ROOT && device.parentId != 0) {
            return "the root of a store has no parent";
        }
        return std::nullopt;
    }

    /// Every device leads up to the root; what does not is below nothing, or below itself.
    Text placeFault(const qz::CDevice& device) {
        if (device.id != ROOT && parents.count(device.parentId) == 0) {
            return "the parent " + decimal(device.parentId) + " is not there";
        }
        std::vector<std::uint64_t> way;
        std::uint64_t at = device.id;
        while (at != ROOT && rooted.count(at) == 0) {
            way.push_back(at);
            at = parents[at];
            if (at == device.id || way.size() > parents.size()) {
                return "the device " + decimal(device.id) + " is below itself";
            }
        }
        rooted.insert(way.begin(), way.end());
        return std::nullopt;
    }

    const StoreImage& image;
    std::unordered_map<std::uint64_t, std::uint64_t> parents;
    std::unordered_set<velk::common::Uuid> uuids;
    std::unordered_set<std::uint64_t> rooted; ///< known to lead up to the root
};

class ChannelCheck {
public:
    ChannelCheck(const StoreImage& whole, const DeviceCheck& known) : image{whole}, devices{known} {}

    std::optional<ImageFault> run() {
        const auto& channels = image.content.channels;
        for (std::size_t i = 0; i < channels.size(); ++i) {
            if (auto fault = faultOf(channels[i])) {
                return ImageFault{Part::channel, i, std::move(*fault)};
            }
        }
        return std::nullopt;
    }

private:
    Text faultOf(const ChannelRecord& channel) {
        if (auto fault = idFault(channel.id, image.lastChannel, "lastChannel")) {
            return fault;
        }
        if (!ids.insert(channel.id).second) {
            return "the channel " + decimal(channel.id) + " is there twice";
        }
        if (!devices.isThere(channel.deviceId)) {
            return "the device " + decimal(channel.deviceId) + " is not there";
        }
        if (!names.emplace(channel.deviceId, channel.name).second) {
            return "the device " + decimal(channel.deviceId) + " has \"" + channel.name + "\" twice";
        }
        if (channel.type > qz::datatype::binary) {
            return "the type " + to_string(channel.type) + " is none of a channel";
        }
        if (channel.initialized != channel.value.isValid() ||
            (channel.initialized && channel.value.type() != channel.type)) {
            return "\"" + channel.name + "\" takes " + to_string(channel.type) + ", not " +
                   (channel.value.isValid() ? to_string(*channel.value.type()) : "an invalid value");
        }
        return std::nullopt;
    }

    const StoreImage& image;
    const DeviceCheck& devices;
    std::unordered_set<std::uint64_t> ids;
    std::set<std::pair<std::uint64_t, std::string>> names;
};

/// Events and records are numbered from 1 up, in their order.
template <typename Entry>
std::optional<ImageFault> findNumberFault(const std::vector<Entry>& entries, Part part) {
    std::int64_t last = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].number <= last) {
            return ImageFault{part, i,
                              "the number " + std::to_string(entries[i].number) + " does not follow " +
                                  std::to_string(last)};
        }
        if (entries[i].number > static_cast<std::int64_t>(GREATEST_ID)) {
            return ImageFault{part, i, "a number is from 1 to " + decimal(GREATEST_ID)};
        }
        last = entries[i].number;
    }
    return std::nullopt;
}

} // namespace

std::optional<ImageFault> findFault(const StoreImage& image) {
    if (image.lastDevice > GREATEST_ID || image.lastChannel > GREATEST_ID) {
        return ImageFault{Part::image, 0, "an identifier is from 1 to " + decimal(GREATEST_ID)};
    }
    DeviceCheck devices{image};
    if (auto fault = devices.run()) {
        return fault;
    }
    if (auto fault = ChannelCheck{image, devices}.run()) {
        return fault;
    }
    if (auto fault = findNumberFault(image.alarmEvents, Part::alarmEvent)) {
        return fault;
    }
    return findNumberFault(image.writeRecords, Part::writeRecord);
}

} // namespace tessapi
