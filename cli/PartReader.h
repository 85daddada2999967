#pragma once

#include "cli/Communication.h"
#include "cli/StoreView.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

/// Reads the points of one part of the device and keeps account of which it has given, so that what was said
/// of the part can be marked when one of them is not fresh. A point without a value, or with one of another
/// kind, is not there.
class PartReader {
public:
    /// Both must outlive this object. `devicePath` is that of the part, "" for the device itself; a part that
    /// does not exist has no points.
    PartReader(const StoreView& storeView, const Communication& storeCommunication, std::string devicePath);

    const std::string& path() const { return part; }

    /// A part of this part, with an account of its own.
    PartReader below(std::string_view name) const;

    /// The items of a collection below this part, by their numbers.
    std::vector<PartReader> items(std::string_view collection) const;

    std::optional<double> number(std::string_view name);
    std::optional<bool> flag(std::string_view name);
    bool isTrue(std::string_view name) { return flag(name).value_or(false); }
    bool isFalse(std::string_view name) { return !flag(name).value_or(true); }

    /// The name of a state; of a state without name its number.
    std::optional<std::string> state(std::string_view name);

    /// A text of the part, also one that the store keeps of the device; empty for none.
    std::string text(std::string_view name);

    /// A number with its unit, as people say it.
    std::optional<std::string> figure(std::string_view name);

    /// The day of a point in time, by the time zone of the person.
    std::optional<std::string> day(std::string_view name);

    /// What has been given so far; texts of the store's devices are not among them.
    const std::vector<const Point*>& given() const { return points; }

    /// Whether all that was given is fresh.
    bool isFresh() const;

private:
    const Point* take(std::string_view name);

    const StoreView& view;
    const Communication& communication;
    std::string part;
    std::vector<const Point*> points;
};

} // namespace velk::cli
