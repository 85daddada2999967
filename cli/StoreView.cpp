#include "cli/StoreView.h"

#include "cli/ChannelPath.h"
#include "cli/EditDistance.h"
#include "cli/Failure.h"
#include "cli/JournalEntry.h"
#include "platform/tessapi/DeviceAttribute.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velk::cli {

namespace {

constexpr std::uint64_t ROOT = 1;
constexpr std::size_t MOST_NAMED = 3; ///< of several where one is wanted
constexpr auto PATH_ATTRIBUTE = static_cast<std::size_t>(tessapi::DeviceAttribute::path);

struct AttributeName {
    tessapi::DeviceAttribute attribute;
    const char* name;
};

constexpr auto attributeNames = std::to_array<AttributeName>({
    {tessapi::DeviceAttribute::productName, "Attribute.ProductName"},
    {tessapi::DeviceAttribute::model, "Attribute.Model"},
    {tessapi::DeviceAttribute::friendlyName, "Attribute.FriendlyName"},
    {tessapi::DeviceAttribute::serialNumber, "Attribute.SerialNumber"},
    {tessapi::DeviceAttribute::vendor, "Attribute.Vendor"},
    {tessapi::DeviceAttribute::physicalName, "Attribute.PhysicalName"},
    {tessapi::DeviceAttribute::location, "Attribute.Location"},
    {tessapi::DeviceAttribute::hardwareVersion, "Attribute.HardwareVersion"},
    {tessapi::DeviceAttribute::firmwareVersion, "Attribute.FirmwareVersion"},
});

std::string pathOf(const qz::CDevice& device) {
    return devicePathOf(device.id, device.attributes.at(PATH_ATTRIBUTE));
}

std::string titleOf(const qz::CDevice& device) {
    if (device.id == ROOT) {
        return "Store";
    }
    return device.id == StoreView::POWER_DISTRIBUTION ? "PowerDistribution" : pathOf(device);
}

bool isBelow(std::string_view path, const std::string& wanted) {
    return !wanted.empty() && path.starts_with(wanted + ".");
}

} // namespace

StoreView::StoreView(tessapi::StoreSnapshot snapshot) : taken{std::move(snapshot)} {
    for (const qz::CDevice& device : taken.devices) {
        children[device.parentId].push_back(&device);
    }
    for (const tessapi::ChannelRecord& channel : taken.channels) {
        channels[channel.deviceId].push_back(&channel);
    }
    grow(0, 0, false);
    for (std::size_t i = 0; i < all.size(); ++i) {
        byPath.try_emplace(all[i].path, i);
        if (all[i].channel != nullptr) {
            byChannel.try_emplace(all[i].channel->id, i);
        }
    }
}

void StoreView::grow(std::uint64_t parentId, unsigned int depth, bool equipment) {
    const auto found = children.find(parentId);
    if (found == children.end()) {
        return;
    }
    for (const qz::CDevice* device : found->second) {
        Branch branch;
        branch.device = device;
        branch.path = pathOf(*device);
        branch.title = titleOf(*device);
        branch.depth = depth;
        branch.equipment = equipment || device->id == POWER_DISTRIBUTION;
        branch.hidden = device->uuid == JournalEntry::deviceUuid();
        addPoints(branch);
        byDevice.try_emplace(device->id, tree.size());
        tree.push_back(branch);
        grow(device->id, depth + 1, branch.equipment);
    }
}

void StoreView::addPoints(Branch& branch) {
    branch.firstPoint = all.size();
    if (branch.equipment) {
        for (const AttributeName& row : attributeNames) {
            const std::string& text = branch.device->attributes.at(static_cast<std::size_t>(row.attribute));
            if (!text.empty()) {
                all.push_back({joinPath(branch.path, row.name), branch.path, row.name, branch.device->id,
                               nullptr, text});
            }
        }
    }
    for (const tessapi::ChannelRecord* channel : channels[branch.device->id]) {
        const std::string name = shortChannelName(channel->name, branch.path);
        all.push_back({joinPath(branch.path, name), branch.path, name, branch.device->id, channel, ""});
    }
    std::sort(all.begin() + static_cast<std::ptrdiff_t>(branch.firstPoint), all.end(),
              [](const Point& a, const Point& b) { return a.name < b.name; });
    branch.pointCount = all.size() - branch.firstPoint;
}

const StoreView::Branch* StoreView::branch(std::uint64_t deviceId) const {
    const auto found = byDevice.find(deviceId);
    return found == byDevice.end() ? nullptr : &tree[found->second];
}

const Point* StoreView::find(std::string_view path) const {
    const auto found = byPath.find(std::string{path});
    return found == byPath.end() ? nullptr : &all[found->second];
}

const Point* StoreView::pointOf(std::uint64_t channel) const {
    const auto found = byChannel.find(channel);
    return found == byChannel.end() ? nullptr : &all[found->second];
}

const Point* StoreView::pointOf(std::uint64_t deviceId, std::string_view name) const {
    const Branch* owner = branch(deviceId);
    return owner == nullptr ? nullptr : find(joinPath(owner->path, std::string{name}));
}

std::vector<const Point*> StoreView::select(const std::string& wanted) const {
    if (const Point* exact = find(wanted)) {
        return {exact};
    }
    std::vector<const Point*> chosen = matching(wanted);
    if (chosen.empty()) {
        failNoSuchPath(wanted, paths());
    }
    return chosen;
}

std::vector<const Point*> StoreView::matching(const std::string& wanted) const {
    const PathPattern pattern{wanted};
    std::vector<const Point*> chosen;
    for (const Branch& owner : tree) {
        if (owner.hidden && !wanted.starts_with(owner.title)) {
            continue;
        }
        for (std::size_t i = owner.firstPoint; i < owner.firstPoint + owner.pointCount; ++i) {
            if (pattern.isGlob() ? pattern.matches(all[i].path) : isBelow(all[i].path, wanted)) {
                chosen.push_back(&all[i]);
            }
        }
    }
    return chosen;
}

const Point& StoreView::require(const std::string& path) const {
    if (const Point* point = find(path)) {
        return *point;
    }
    const std::vector<const Point*> several = matching(path);
    if (several.empty()) {
        failNoSuchPath(path, paths());
    }
    std::string names;
    for (std::size_t i = 0; i < std::min(several.size(), MOST_NAMED); ++i) {
        names += (i == 0 ? "" : ", ") + several[i]->path;
    }
    names += several.size() > MOST_NAMED ? ", ..." : "";
    const bool isOne = several.size() == 1;
    const std::string what = PathPattern{path}.isGlob() ? (isOne ? " matches \"" : " match \"")
                                                        : (isOne ? " is below \"" : " are below \"");
    throw Failure{ExitCode::NoSuchPath,
                  "this takes one path; " + std::to_string(several.size()) + what + path + "\": " + names};
}

const StoreView::Branch& StoreView::requireBranch(const std::string& path) const {
    const std::string place = path == "." || path == "PowerDistribution" ? std::string{} : path;
    std::vector<std::string> candidates;
    for (const Branch& candidate : tree) {
        if (candidate.equipment && candidate.path == place) {
            return candidate;
        }
        if (candidate.equipment) {
            candidates.push_back(candidate.title);
        }
    }
    failNoSuchPath(path, candidates);
}

const StoreView::Branch& StoreView::requireAnyBranch(const std::string& path) const {
    const auto found = std::find_if(tree.begin(), tree.end(),
                                    [&](const Branch& candidate) { return candidate.title == path; });
    return found == tree.end() ? requireBranch(path) : *found;
}

std::vector<std::string> StoreView::paths() const {
    std::vector<std::string> candidates;
    for (const Point& point : all) {
        candidates.push_back(point.path);
    }
    return candidates;
}

void StoreView::failNoSuchPath(const std::string& wanted, const std::vector<std::string>& candidates) {
    if (PathPattern{wanted}.isGlob()) {
        throw Failure{ExitCode::NoSuchPath, "nothing in the store matches \"" + wanted + "\""};
    }
    const std::string near = nearest(wanted, candidates);
    const std::string hint = near.empty() ? std::string{} : "; did you mean \"" + near + "\"?";
    throw Failure{ExitCode::NoSuchPath, "no such path: \"" + wanted + "\"" + hint};
}

} // namespace velk::cli
