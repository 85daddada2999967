#include "daemon/history/LinkStates.h"

#include "daemon/CommunicationJournal.h"
#include "platform/tessapi/DeviceAttribute.h"

#include <algorithm>
#include <utility>

namespace velk::daemon {

namespace {

constexpr std::uint64_t WATCHED_DEVICE = 20;
constexpr const char* OF_LINKS = "PowerDistribution.CommunicationStatus.";

bool isLostBy(const qz::CValue& state) {
    constexpr double connected = 2.0;
    return state.isValid() && state.asNumber() != connected;
}

bool isWithin(const std::string& place, const std::string& part) {
    return part.empty() || place == part || place.starts_with(part + ".");
}

} // namespace

bool LinkStates::meet(const qz::CDevice& device, const tessapi::ChannelRecord& channel) {
    const bool isWatched = device.id == WATCHED_DEVICE;
    const std::string& place = device.attributes.at(static_cast<std::size_t>(tessapi::DeviceAttribute::path));
    if (!isWatched && place.empty()) {
        return false; // no part of the equipment
    }
    places.insert_or_assign(device.uuid, isWatched ? std::string{} : place);
    if (channel.name != CommunicationJournal::STATE) {
        return false;
    }
    links.try_emplace(channel.id, Link{places[device.uuid], false});
    return channel.initialized && take({channel.id, channel.value, channel.writtenMs});
}

bool LinkStates::leave(std::uint64_t channel) {
    const auto found = links.find(channel);
    const bool wasLost = found != links.end() && found->second.isLost;
    links.erase(channel);
    return wasLost;
}

bool LinkStates::take(const tessapi::ChannelWrite& write) {
    const auto found = links.find(write.channel);
    if (found == links.end()) {
        return false;
    }
    const bool isLost = isLostBy(write.value);
    return std::exchange(found->second.isLost, isLost) != isLost;
}

bool LinkStates::isAway(const HistoryBook::Key& channel) const {
    const auto place = places.find(channel.first);
    return place != places.end() && !channel.second.starts_with(OF_LINKS) &&
           std::any_of(links.begin(), links.end(), [&place](const auto& row) {
               return row.second.isLost && isWithin(place->second, row.second.place);
           });
}

} // namespace velk::daemon
