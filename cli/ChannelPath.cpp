#include "cli/ChannelPath.h"

#include "cli/StoreView.h"

#include <string_view>

namespace velk::cli {

namespace {

constexpr std::uint64_t ROOT_DEVICE = 1;
constexpr std::string_view CHANNEL_PREFIX = "PowerDistribution.";

} // namespace

std::string devicePathOf(std::uint64_t device, const std::string& place) {
    if (device == ROOT_DEVICE || device == StoreView::POWER_DISTRIBUTION) {
        return "";
    }
    return place.empty() ? "#" + std::to_string(device) : place;
}

std::string shortChannelName(const std::string& channelName, const std::string& devicePath) {
    if (channelName.starts_with(CHANNEL_PREFIX)) {
        return channelName.substr(CHANNEL_PREFIX.size());
    }
    const std::string own = devicePath + ".";
    return channelName.starts_with(own) ? channelName.substr(own.size()) : channelName;
}

std::string joinPath(const std::string& devicePath, const std::string& name) {
    return devicePath.empty() ? name : devicePath + "." + name;
}

} // namespace velk::cli
