#include "plugins/simulator/model/PointTable.h"

#include "plugins/simulator/model/MemberTypes.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace velk::simulator {

namespace {

PointType typeOfPath(const std::string& path) {
    const auto type = memberType(splitPath(path).member);
    if (!type) {
        throw std::logic_error{"\"" + path + "\" names no data point of the vocabulary"};
    }
    return *type;
}

/// Every index written as "x".
std::string patternOf(const std::string& path) {
    std::string pattern;
    for (const std::string& node : nodesOf(path)) {
        pattern = joinPath(pattern, indexOf(node) ? "x" : node);
    }
    return pattern;
}

std::optional<double> numberOf(const Value& value) {
    if (const auto* number = value.getIf<float>()) {
        return *number;
    }
    if (const auto* number = value.getIf<std::int32_t>()) {
        return *number;
    }
    if (const auto* number = value.getIf<std::uint32_t>()) {
        return *number;
    }
    return std::nullopt;
}

bool isTaken(const PointInfo& info, const Value& value) {
    if (!isOfType(value, info.type)) {
        return false;
    }
    const auto number = numberOf(value);
    if (!number) {
        return true;
    }
    const bool isState = info.choices.empty() ||
                         std::find(info.choices.begin(), info.choices.end(), *number) != info.choices.end();
    return std::isfinite(*number) && isState && *number >= info.min.value_or(*number) &&
           *number <= info.max.value_or(*number);
}

} // namespace

PointTable::PointTable(const std::vector<std::string>& absent) : missing{absent.begin(), absent.end()} {}

bool PointTable::isAbsent(const std::string& path) const {
    return !missing.empty() && (missing.count(path) != 0 || missing.count(patternOf(path)) != 0);
}

void PointTable::hold(const std::string& path, Value value, PointInfo info) {
    points[path] = Point{std::move(info), std::move(value), {}, {}};
}

void PointTable::compute(const std::string& path, Getter getter) {
    const PointType type = typeOfPath(path);
    if (!isAbsent(path)) {
        points[path] = Point{{type, true, false, {}, {}, {}}, {}, std::move(getter), {}};
    }
}

void PointTable::act(const std::string& path, Act action) {
    const PointType type = typeOfPath(path);
    if (!isAbsent(path)) {
        points[path] = Point{{type, false, true, {}, {}, {}}, {}, {}, std::move(action)};
    }
}

void PointTable::exchange(const std::string& path, PointType type, Getter getter, Act action) {
    points[path] =
        Point{{type, true, static_cast<bool>(action), {}, {}, {}}, {}, std::move(getter), std::move(action)};
}

const PointTable::Point* PointTable::served(const std::string& path) const {
    const auto found = points.find(path);
    return found == points.end() || !found->second.served ? nullptr : &found->second;
}

bool PointTable::holds(const std::string& path) const {
    const auto found = points.find(path);
    return found != points.end() && !found->second.getter && !found->second.action;
}

Value PointTable::read(const std::string& path) const {
    const Point* point = served(path);
    if (point == nullptr) {
        return {};
    }
    return point->getter ? point->getter() : point->held;
}

bool PointTable::write(const std::string& path, const Value& value, bool anyHeld) {
    const auto found = points.find(path);
    if (found == points.end() || !found->second.served) {
        return false;
    }
    Point& point = found->second;
    if (point.action) {
        return point.action(value);
    }
    if (point.getter || (!point.info.writable && !anyHeld) || !isTaken(point.info, value)) {
        return false;
    }
    point.held = value;
    return true;
}

const PointInfo* PointTable::find(const std::string& path) const {
    const Point* point = served(path);
    return point == nullptr ? nullptr : &point->info;
}

std::map<std::string, PointInfo> PointTable::all() const {
    std::map<std::string, PointInfo> infos;
    for (const auto& [path, point] : points) {
        if (point.served) {
            infos.emplace(path, point.info);
        }
    }
    return infos;
}

void PointTable::restrict(const std::function<bool(const std::string&)>& isThere) {
    for (auto& [path, point] : points) {
        point.served = isThere(path);
    }
}

} // namespace velk::simulator
