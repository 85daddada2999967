#include "tests/scenarios/Mirror.h"

#include "platform/common/UnixTime.h"
#include "platform/common/lwjson/Deserializer.h"
#include "platform/qz/CTimestamp.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace velk::scenarios {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

namespace {

/// Single precision, of which the last digits may differ in a text.
constexpr double FLOAT_PRECISION = 1e-6;

/// What the library keeps for itself, or answers itself instead of the device.
constexpr std::string_view NOT_SHOWN[]{"Private.", "PrivateAction.", "Action.", "Attribute."};

/// The path's last node begins behind the last name that is followed by another one: "Measure.Voltage" of
/// "Inputs.1.Measure.Voltage".
std::string lastNodeOf(const std::string& path) {
    const auto name = path.rfind('.');
    const auto before = name == std::string::npos || name == 0 ? name : path.rfind('.', name - 1);
    return before == std::string::npos ? path : path.substr(before + 1);
}

bool isShown(const std::string& path) {
    const std::string node = lastNodeOf(path);
    return std::none_of(std::begin(NOT_SHOWN), std::end(NOT_SHOWN),
                        [&](std::string_view kind) { return node.rfind(kind, 0) == 0; });
}

std::string textOf(const qz::CValue& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// Both write a time as ISO 8601 in UTC, the device with its milliseconds, of which it has none.
std::string withoutMilliseconds(std::string time) {
    const auto at = time.find(".000Z");
    return at == std::string::npos ? time : time.replace(at, 5, "Z");
}

bool sameFloat(const DevicePoint& point, const qz::CValue& value) {
    const double there = std::strtod(point.json.c_str(), nullptr);
    const double here = value.as_float();
    return std::abs(there - here) <= FLOAT_PRECISION * std::max({1.0, std::abs(there), std::abs(here)});
}

} // namespace

bool isSame(const DevicePoint& point, const qz::CValue& value) {
    const auto type = value.type();
    if (!type || qz::to_string(*type) != (point.type == "bool"    ? "boolean"
                                          : point.type == "float" ? "float32"
                                                                  : point.type)) {
        return false;
    }
    if (point.type == "timestamp") {
        return textOf(value) == withoutMilliseconds(point.json);
    }
    return point.type == "float" ? sameFloat(point, value) : textOf(value) == point.json;
}

DevicePoints readPoints(const std::string& answer) {
    const Deserializer json{answer};
    const Node* const points = json.findMember("points");
    if (points == nullptr) {
        throw std::runtime_error{"the simulator gave no points: " + answer.substr(0, 200)};
    }
    DevicePoints all;
    for (const Node& each : points->members()) {
        const Node* const value = each.findMember("value");
        const Node* const type = each.findMember("type");
        const Node* const writable = each.findMember("writable");
        if (value != nullptr && type != nullptr && writable != nullptr) {
            all[each.name()] = {type->text(),
                                value->getValueType() == ValueType::Null ? "null" : value->text(),
                                writable->asBool()};
        }
    }
    return all;
}

std::vector<std::string> differences(const DevicePoints& device, const StorePicture& store,
                                     std::size_t& compared) {
    std::vector<std::string> found;
    compared = 0;
    for (const auto& [path, point] : device) {
        if (point.json == "null" || !isShown(path)) {
            continue;
        }
        ++compared;
        const auto channel = store.channels.find(path);
        if (channel == store.channels.end()) {
            found.push_back(path + " is not in the store");
        } else if (!isSame(point, channel->second.value)) {
            found.push_back(path + " is " + textOf(channel->second.value) + " (" +
                            qz::to_string(channel->second.type) + ") in the store and " + point.json + " (" +
                            point.type + ") in the device");
        }
    }
    return found;
}

} // namespace velk::scenarios
