#include "powerdistribution/connectors/ExpectedChannels.h"

#include "platform/tessapi/InBandAccessor.h"

#include <algorithm>
#include <cstddef>

namespace velk::powerdistribution::connectors {

using velk::common::MutexLock;

void ExpectedChannels::expect(const Owner& owner, const std::string& name) {
    if (owner.device == NONE) {
        return;
    }
    MutexLock held{lock};
    devices[owner.device].push_back({owner.connector, name});
}

std::uint64_t ExpectedChannels::emplace(tessapi::InBandAccessor& store, const Owner& owner,
                                        const std::string& name, Need need) {
    MutexLock held{lock};
    const auto device = devices.find(owner.device);
    Place* const asked = device == devices.end() ? nullptr : find(device->second, owner, name);
    if (asked == nullptr) {
        return NONE;
    }
    if (asked->id != NONE && (asked->wasAskedForValue || need == Need::identifier)) {
        return asked->id;
    }
    std::vector<Place*> due;
    for (Place& place : device->second) {
        // For the value of one those too whose identifiers are known: all of them are about to be read.
        if (need == Need::value ? !place.wasAskedForValue : place.id == NONE) {
            due.push_back(&place);
        }
    }
    if (due.size() > 1) {
        make(store, owner.device, due, need);
    }
    return asked->id;
}

void ExpectedChannels::make(tessapi::InBandAccessor& store, std::uint64_t device,
                            const std::vector<Place*>& due, Need need) {
    std::vector<std::string> names;
    names.reserve(due.size());
    for (const Place* place : due) {
        names.push_back(place->name);
    }
    const std::vector<std::uint64_t> ids = store.emplaceChannels(device, names);
    for (std::size_t i = 0; i < due.size(); ++i) {
        due[i]->id = ids.at(i);
        due[i]->wasAskedForValue = need == Need::value;
    }
}

ExpectedChannels::Place* ExpectedChannels::find(Places& places, const Owner& owner, const std::string& name) {
    const auto found = std::find_if(places.begin(), places.end(), [&](const Place& place) {
        return place.connector == owner.connector && place.name == name;
    });
    return found == places.end() ? nullptr : &*found;
}

std::vector<std::uint64_t> ExpectedChannels::madeFor(const Owner& owner) const {
    std::vector<std::uint64_t> ids;
    MutexLock held{lock};
    const auto device = devices.find(owner.device);
    if (device == devices.end()) {
        return ids;
    }
    for (const Place& place : device->second) {
        if (place.connector == owner.connector && place.id != NONE) {
            ids.push_back(place.id);
        }
    }
    return ids;
}

void ExpectedChannels::forget(const Owner& owner) {
    MutexLock held{lock};
    const auto device = devices.find(owner.device);
    if (device == devices.end()) {
        return;
    }
    std::erase_if(device->second, [&](const Place& place) { return place.connector == owner.connector; });
    if (device->second.empty()) {
        devices.erase(device);
    }
}

} // namespace velk::powerdistribution::connectors
