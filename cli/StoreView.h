#pragma once

#include "cli/PathPattern.h"
#include "cli/Point.h"
#include "platform/tessapi/StoreBrowser.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velk::cli {

/// The store at one moment, in the order and under the names in which people think of it: a tree of devices,
/// each with its points.
///
/// The path of a point is the place of its device in the equipment ("Inputs.1"; nothing for the device
/// itself) and the name of the channel without "PowerDistribution." ("Measure.Voltage"). The texts that the
/// store keeps of a device are points too ("Attribute.Model").
class StoreView {
public:
    /// The identifier under which the device that is watched stands in every store.
    static constexpr std::uint64_t POWER_DISTRIBUTION = 20;

    /// A device of the store. Its points stand together in `points()`.
    struct Branch {
        const qz::CDevice* device{nullptr};
        std::string path;  ///< as in `Point::devicePath`
        std::string title; ///< for people: "PowerDistribution", "Inputs.1"; "Store" for the root
        unsigned int depth{0};
        std::size_t firstPoint{0};
        std::size_t pointCount{0};
        bool equipment{false}; ///< the device that is watched, or a part of it
        bool hidden{false};    ///< the daemon's own notes: shown only to those who ask for them by name
    };

    explicit StoreView(tessapi::StoreSnapshot taken);
    StoreView(StoreView&&) = default;
    StoreView& operator=(StoreView&&) = default;

    /// Depth first, children by identifier.
    const std::vector<Branch>& branches() const { return tree; }

    /// By branch, then by name.
    const std::vector<Point>& points() const { return all; }

    const tessapi::StoreSnapshot& snapshot() const { return taken; }

    /// Null when there is none.
    const Branch* branch(std::uint64_t deviceId) const;
    const Point* find(std::string_view path) const;
    const Point* pointOf(std::uint64_t channel) const;
    const Point* pointOf(std::uint64_t deviceId, std::string_view name) const;

    /// The points that a person means: the one of exactly this path, or all that a glob matches, or all below
    /// a device named by its path. Throws `Failure` with `NoSuchPath` and the nearest right path when there
    /// is none.
    std::vector<const Point*> select(const std::string& wanted) const;

    /// Likewise; empty when there is none.
    std::vector<const Point*> matching(const std::string& wanted) const;

    /// The one point of exactly this path; throws as `select` does, and names some when it means several.
    const Point& require(const std::string& path) const;

    /// The part of the equipment by its path ("Outlets.1"); "." and "PowerDistribution" are the device
    /// itself. Throws as `select` does.
    const Branch& requireBranch(const std::string& path) const;

    /// A device by the title or the path that people know: also "PowerEquipment", and "." for the device that
    /// is watched. Throws as `select` does.
    const Branch& requireAnyBranch(const std::string& path) const;

private:
    void grow(std::uint64_t deviceId, unsigned int depth, bool equipment);
    void addPoints(Branch& branch);
    std::vector<std::string> paths() const;
    [[noreturn]] static void failNoSuchPath(const std::string& wanted,
                                            const std::vector<std::string>& candidates);

    tessapi::StoreSnapshot taken;
    std::unordered_map<std::uint64_t, std::vector<const qz::CDevice*>> children;
    std::unordered_map<std::uint64_t, std::vector<const tessapi::ChannelRecord*>> channels;
    std::vector<Branch> tree;
    std::vector<Point> all;
    std::unordered_map<std::string, std::size_t> byPath;
    std::unordered_map<std::uint64_t, std::size_t> byChannel;
    std::unordered_map<std::uint64_t, std::size_t> byDevice;
};

} // namespace velk::cli
