#include "kit/ValueRules.h"

#include "kit/Finding.h"
#include "platform/tessapi/catalogue/Catalogue.h"
#include "powerdistribution/core/Vocabulary.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <string_view>

namespace velk::kit {

using powerdistribution::EnumList;
using powerdistribution::EPath;
using powerdistribution::EPrivate;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;
using powerdistribution::GetEnumList;
using powerdistribution::typeName;
using powerdistribution::Value;

namespace {

/// What a number can sensibly be. Generous: it tells volts from millivolts and a share from a percentage of a
/// percentage, and does not judge a device.
struct Bounds {
    std::string_view of; ///< a unit or a name
    double least;
    double most;
};

/// A device that does not know its mode; derived statuses take it for that.
constexpr std::uint32_t UNKNOWN_MODE = 0;

constexpr double TEN_YEARS = 3600.0 * 24 * 3650;

// clang-format off
constexpr std::array UNITS{
    Bounds{"%",       0.0,     1000.0}, // an overload is more than 100
    Bounds{"V",       0.0,    50000.0},
    Bounds{"A",  -50000.0,    50000.0}, // a battery that is discharged
    Bounds{"Hz",      0.0,     1000.0},
    Bounds{"W",     -1e9,         1e9},
    Bounds{"VA",      0.0,        1e9},
    Bounds{"var",   -1e9,         1e9},
    Bounds{"Wh",      0.0,       1e15},
    Bounds{"Ah",      0.0,        1e6},
    Bounds{"s",      -1.0,  TEN_YEARS}, // -1: no delay runs
    Bounds{"°",    -360.0,      360.0},
    Bounds{"°C",   -100.0,      300.0},
};

constexpr std::array NAMES{
    Bounds{"Measure.PowerFactor",                -1.0,   1.0},
    Bounds{"Measure.PeakFactor",                  0.0, 100.0},
    Bounds{"Measure.Efficiency",                  0.0, 100.0},
    Bounds{"Measure.StateOfCharge",               0.0, 100.0},
    Bounds{"Measure.StateOfHealth",               0.0, 100.0},
    Bounds{"Specification.PowerFactor.MaxReading", -1.0, 1.0},
    Bounds{"Specification.PowerFactor.MinReading", -1.0, 1.0},
};
// clang-format on

const tessapi::CatalogueEntry* entryOf(const EPath& path) {
    return tessapi::Catalogue::builtin().find("PowerDistribution." + path.lastNode().tostring());
}

std::string alternativeOf(qz::datatype type) {
    switch (type) {
    case qz::datatype::boolean:
        return "bool";
    case qz::datatype::int32:
        return "int32_t";
    case qz::datatype::uint32:
        return "uint32_t";
    case qz::datatype::float32:
        return "float";
    case qz::datatype::timestamp:
        return "UnixTime";
    default:
        return "std::string";
    }
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

const Bounds* boundsOf(const EPath& path, const std::string& unit) {
    const std::string name = path.lastNode().tostring();
    for (const Bounds& bounds : NAMES) {
        if (bounds.of == name) {
            return &bounds;
        }
    }
    for (const Bounds& bounds : UNITS) {
        if (bounds.of == unit) {
            return &bounds;
        }
    }
    return nullptr;
}

std::optional<Mismatch> numberMismatch(const EPath& path, const Value& value, const std::string& unit) {
    const std::optional<double> number = numberOf(value);
    if (!number) {
        return std::nullopt;
    }
    if (!std::isfinite(*number)) {
        return Mismatch{"a number", describe(value)};
    }
    const Bounds* const bounds = boundsOf(path, unit);
    if (bounds == nullptr || (*number >= bounds->least && *number <= bounds->most)) {
        return std::nullopt;
    }
    std::ostringstream expected;
    expected << bounds->least << " to " << bounds->most << (unit.empty() ? "" : " ") << unit;
    return Mismatch{expected.str(), describe(value)};
}

/// All states of the data point, or null where other numbers than the named ones have a meaning too.
const EnumList* statesOf(const EPath& path) {
    const EPath::Node& last = path.lastNode();
    if (const auto* member = last.getIf<EStatus>()) {
        return GetEnumList(*member);
    }
    if (const auto* member = last.getIf<ESetting>()) {
        return GetEnumList(*member);
    }
    const auto* member = last.getIf<ESpecification>();
    return member == nullptr ? nullptr : GetEnumList(*member);
}

std::optional<Mismatch> stateMismatch(const EPath& path, const Value& value) {
    const auto* number = value.getIf<std::uint32_t>();
    const EnumList* const states = number == nullptr ? nullptr : statesOf(path);
    if (states == nullptr || (*number == UNKNOWN_MODE && path.lastNode() == EPath::Node{EStatus::Mode})) {
        return std::nullopt;
    }
    std::string expected = "one of the states";
    for (const auto& [name, state] : *states) {
        if (state == *number) {
            return std::nullopt;
        }
        expected += " " + std::to_string(state) + " (" + name + ")";
    }
    return Mismatch{expected, describe(value)};
}

std::optional<Mismatch> textMismatch(const Value& value) {
    const auto* text = value.getIf<std::string>();
    if (text == nullptr || isPrintable(*text)) {
        return std::nullopt;
    }
    return Mismatch{"printable UTF-8", describe(value)};
}

} // namespace

std::string typeOf(const EPath& path) {
    if (const auto* member = path.lastNode().getIf<EPrivate>()) {
        return *member == EPrivate::LogChunk   ? "InternalLogChunk"
               : *member == EPrivate::LogTopId ? "uint32_t"
                                               : "std::string";
    }
    const tessapi::CatalogueEntry* const entry = entryOf(path);
    return entry == nullptr ? std::string{} : alternativeOf(entry->type);
}

std::optional<Mismatch> mismatchOf(const EPath& path, const Value& value) {
    if (!value.hasValue()) {
        return std::nullopt;
    }
    const std::string type = typeOf(path);
    if (type.empty()) {
        return Mismatch{"null for a name that the catalogue does not know", describe(value)};
    }
    if (typeName(value) != type) {
        return Mismatch{type, describe(value)};
    }
    if (auto mismatch = textMismatch(value)) {
        return mismatch;
    }
    const tessapi::CatalogueEntry* const entry = entryOf(path);
    if (entry == nullptr) {
        return std::nullopt;
    }
    const auto mismatch = stateMismatch(path, value);
    return mismatch ? mismatch : numberMismatch(path, value, entry->unit);
}

} // namespace velk::kit
