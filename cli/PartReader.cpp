#include "cli/PartReader.h"

#include "cli/FigureText.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace velk::cli {

namespace {

std::string placeOf(const std::string& part, std::string_view name) {
    return part.empty() ? std::string{name} : part + "." + std::string{name};
}

} // namespace

PartReader::PartReader(const StoreView& storeView, const Communication& storeCommunication,
                       std::string devicePath) :
    view{storeView}, communication{storeCommunication}, part{std::move(devicePath)} {}

PartReader PartReader::below(std::string_view name) const {
    return PartReader{view, communication, placeOf(part, name)};
}

std::vector<PartReader> PartReader::items(std::string_view collection) const {
    const std::string beginning = placeOf(part, collection) + ".";
    std::map<unsigned long, PartReader> found;
    for (const StoreView::Branch& branch : view.branches()) {
        if (!branch.path.starts_with(beginning)) {
            continue;
        }
        const std::string number = branch.path.substr(beginning.size());
        if (number.size() < 10 && number.find_first_not_of("0123456789") == std::string::npos) {
            found.try_emplace(std::stoul(number), PartReader{view, communication, branch.path});
        }
    }
    std::vector<PartReader> readers;
    readers.reserve(found.size());
    for (auto& [number, reader] : found) {
        readers.push_back(std::move(reader));
    }
    return readers;
}

const Point* PartReader::take(std::string_view name) {
    const Point* point = view.find(placeOf(part, name));
    if (point == nullptr || point->channel == nullptr || !point->channel->value.isValid()) {
        return nullptr;
    }
    if (std::find(points.begin(), points.end(), point) == points.end()) {
        points.push_back(point);
    }
    return point;
}

std::optional<double> PartReader::number(std::string_view name) {
    const Point* point = take(name);
    const std::optional<double> value = point == nullptr ? std::nullopt : point->channel->value.asNumber();
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<bool> PartReader::flag(std::string_view name) {
    const Point* point = take(name);
    const bool* value = point == nullptr ? nullptr : std::get_if<bool>(&point->channel->value.variant());
    return value == nullptr ? std::nullopt : std::optional{*value};
}

std::optional<std::string> PartReader::state(std::string_view name) {
    const Point* point = take(name);
    return point == nullptr ? std::nullopt : std::optional{displayText(*point)};
}

std::string PartReader::text(std::string_view name) {
    const Point* point = view.find(placeOf(part, name));
    const bool empty = point == nullptr || (point->channel != nullptr && !point->channel->value.isValid());
    return empty ? std::string{} : displayText(*point);
}

std::optional<std::string> PartReader::figure(std::string_view name) {
    const std::optional<double> value = number(name);
    return value ? std::optional{figureText(*value, take(name)->channel->unit)} : std::nullopt;
}

std::optional<std::string> PartReader::day(std::string_view name) {
    const Point* point = take(name);
    const qz::CTimestamp* time =
        point == nullptr ? nullptr : std::get_if<qz::CTimestamp>(&point->channel->value.variant());
    return time == nullptr ? std::nullopt : std::optional{localText(time->seconds * 1000).substr(0, 10)};
}

bool PartReader::isFresh() const {
    return std::all_of(points.begin(), points.end(),
                       [this](const Point* point) { return communication.isFresh(*point); });
}

} // namespace velk::cli
