#pragma once

#include "cli/Communication.h"
#include "cli/Point.h"
#include "cli/Style.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace velk::cli {

/// Says everything about a point: to people in columns, to programs as an object.
class PointReport {
public:
    /// Both are kept by reference or value for the life of the report; `nowMs` is what ages count from.
    PointReport(const Communication& communication, const Style& style, std::int64_t nowMs) :
        communication{communication}, style{style}, nowMs{nowMs} {}

    /// With `path`, `value`, `type`, `unit`, `text` for states, `changed` and `fresh`; `unconfirmed` only for
    /// a setting that is.
    nlohmann::ordered_json json(const Point& point) const;

    /// The value for people, an active alarm in its colour.
    std::string value(const Point& point) const;

    /// The same, but a measure with no more digits than people read.
    std::string briefValue(const Point& point) const;

    /// When the value changed last; empty for a text of the device.
    std::string changed(const Point& point) const;

    /// Empty for a fresh value; otherwise "last known, lost since …" or "unconfirmed, lost since …".
    std::string freshness(const Point& point) const;

private:
    std::string painted(const Point& point, const std::string& text) const;

    const Communication& communication;
    Style style;
    std::int64_t nowMs;
};

} // namespace velk::cli
