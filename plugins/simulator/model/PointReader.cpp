#include "plugins/simulator/model/PointReader.h"

#include "plugins/simulator/model/DeviceFileError.h"
#include "plugins/simulator/model/JsonObject.h"
#include "plugins/simulator/model/MemberTypes.h"
#include "powerdistribution/core/ECircuit.h"
#include "powerdistribution/core/EPowerConverter.h"

#include <algorithm>

namespace velk::simulator {

using common::lwjson::ValueType;

namespace {

/// A node of the tree that is no index.
bool isNodeName(const std::string& name) {
    using powerdistribution::ECircuit;
    using powerdistribution::EPowerConverter;
    bool found = name == "Identification";
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(ECircuit::Synchroniser); ++number) {
        found = found || to_string(static_cast<ECircuit>(number)) == name;
    }
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(EPowerConverter::DcBus); ++number) {
        found = found || to_string(static_cast<EPowerConverter>(number)) == name;
    }
    return found;
}

std::uint32_t phasesOf(std::uint32_t phases) {
    return phases > 1 ? phases : 0;
}

} // namespace

void PointReader::fail(const Node& place, const std::string& reason) const {
    throw DeviceFileError{file, place.position(), reason};
}

void PointReader::read(const Node& point) {
    const PathText path = splitPath(point.name());
    const DescribedPoint described = pointOf(point, path.member);
    for (const std::string& node : expand(path.node, point)) {
        description.points.insert_or_assign(joinPath(node, path.member), described);
    }
}

void PointReader::readAbsent(const Node& path) {
    if (path.getValueType() != ValueType::String) {
        fail(path, "expected the path of a point, as a text");
    }
    typeOf(splitPath(path.asString()).member, path);
    description.absent.push_back(path.asString());
}

PointType PointReader::typeOf(const std::string& member, const Node& place) const {
    const auto type = memberType(member);
    if (!type) {
        fail(place, "expected a path that ends in a data point of the vocabulary, such as "
                    "\"Outlets.x.Specification.Switchable\", but there is none \"" +
                        member + "\"");
    }
    return *type;
}

DescribedPoint PointReader::pointOf(const Node& point, const std::string& member) const {
    DescribedPoint described;
    described.position = point.position();
    described.info.type = typeOf(member, point);
    described.info.writable = member.starts_with("Setting.");
    described.info.choices = memberStates(member);
    if (point.getValueType() != ValueType::Object) {
        described.value = valueOf(point, described.info.type, member);
        return described;
    }
    const JsonObject limits{point, file, "the point"};
    const Node* value = limits.find("value");
    if (value == nullptr) {
        fail(point, "\"value\" of the point is missing");
    }
    described.value = valueOf(*value, described.info.type, member);
    constexpr double LOWEST = std::numeric_limits<double>::lowest();
    if (limits.has("min")) {
        described.info.min = limits.required("min", LOWEST);
    }
    if (limits.has("max")) {
        described.info.max = limits.required("max", LOWEST);
    }
    limits.finish();
    return described;
}

Value PointReader::valueOf(const Node& node, PointType type, const std::string& member) const {
    try {
        switch (type) {
        case PointType::Bool:
            return Value{node.asBool()};
        case PointType::Int32:
            return Value{node.asInt32()};
        case PointType::Uint32:
            return Value{node.asUint32()};
        case PointType::Float:
            return Value{node.asFloat()};
        case PointType::Time:
            return Value{conv::UnixTime{node.asUint32()}};
        case PointType::Text:
            return Value{node.asString()};
        case PointType::Log:
            break;
        }
    } catch (const std::exception&) {
        fail(node,
             "expected a value of the type " + std::string{to_string(type)} + " for \"" + member + "\"");
    }
    fail(node, "\"" + member + "\" takes no value from a file");
}

std::optional<std::uint32_t> PointReader::itemsOf(const std::string& path) const {
    const auto nodes = nodesOf(path);
    const auto sizeOf = [](const auto& list) { return static_cast<std::uint32_t>(list.size()); };
    const std::string& last = nodes.back();
    if (path == "Inputs") {
        return sizeOf(description.inputs);
    }
    if (path == "Outputs") {
        return sizeOf(description.outputs);
    }
    if (path == "Branches") {
        return sizeOf(description.branches);
    }
    if (path == "Outlets") {
        return sizeOf(description.outlets);
    }
    if (last == "Chargers") {
        return description.battery ? description.battery->chargers : 0;
    }
    if (last == "StorageModules") {
        return description.battery ? description.battery->modules : 0;
    }
    if (last != "Phases") {
        return std::nullopt;
    }
    const std::uint32_t item = nodes.size() == 3 ? indexOf(nodes[1]).value_or(0) : 0;
    if (nodes.front() == "Inputs" && item >= 1) {
        return phasesOf(description.inputs.at(item - 1).phases);
    }
    if (nodes.front() == "Outputs" && item >= 1) {
        return phasesOf(description.outputs.at(item - 1).phases);
    }
    return nodes.front() == "PowerConverters" && !description.outputs.empty()
               ? phasesOf(description.outputs.front().phases)
               : 0;
}

std::vector<std::string> PointReader::expand(const std::string& pattern, const Node& place) const {
    std::vector<std::string> paths{""};
    for (const std::string& name : nodesOf(pattern)) {
        const auto index = indexOf(name);
        const bool isNode = !index && name != "x";
        if (isNode && !isNodeName(name)) {
            fail(place, "there is no node \"" + name + "\" in \"" + place.name() + "\"");
        }
        std::vector<std::string> longer;
        for (const std::string& path : paths) {
            if (isNode) {
                longer.push_back(joinPath(path, name));
                continue;
            }
            const std::uint32_t items = path.empty() ? 0 : itemsOf(path).value_or(0);
            if (index && (*index < 1 || *index > items)) {
                fail(place, "expected an index of 1 to " + std::to_string(items) + " below \"" + path +
                                "\" in \"" + place.name() + "\"");
            }
            for (std::uint32_t item = index.value_or(1); item <= index.value_or(items); ++item) {
                longer.push_back(joinPath(path, std::to_string(item)));
            }
        }
        paths = std::move(longer);
    }
    return paths;
}

} // namespace velk::simulator
