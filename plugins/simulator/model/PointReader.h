#pragma once

#include "plugins/simulator/model/DeviceDescription.h"

namespace velk::simulator {

/// Reads the values that a device file gives to points, into a description whose structure is known already.
class PointReader {
public:
    using Node = common::lwjson::Node;

    PointReader(DeviceDescription& target, const std::string& path) : description{target}, file{path} {}

    /// One member of "points": its name is a path in which "x" stands for each item, its value that of the
    /// point, or an object with "value" and the limits "min" and "max" of a setting.
    void read(const Node& point);

    /// A path of "absent".
    void readAbsent(const Node& path);

private:
    /// The paths of all nodes that `pattern` stands for. Throws for a node that the device does not have.
    std::vector<std::string> expand(const std::string& pattern, const Node& place) const;

    /// How many items the collection at `path` has; empty where the path is no collection.
    std::optional<std::uint32_t> itemsOf(const std::string& path) const;
    PointType typeOf(const std::string& member, const Node& place) const;
    Value valueOf(const Node& node, PointType type, const std::string& member) const;
    DescribedPoint pointOf(const Node& point, const std::string& member) const;
    [[noreturn]] void fail(const Node& place, const std::string& reason) const;

    DeviceDescription& description;
    const std::string& file;
};

} // namespace velk::simulator
