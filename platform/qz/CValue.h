#pragma once

#include "platform/common/Export.h"
#include "platform/qz/CTimestamp.h"
#include "platform/qz/datatype.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace qz {

/// A value as the store carries it: invalid, or one of ten alternatives. A plain value.
class VELK_EXPORT CValue {
public:
    using Bytes = std::vector<std::uint8_t>;
    /// In this order: invalid first, then by the numbers of `datatype` where there is one.
    using Variant = std::variant<std::monostate, bool, std::int32_t, std::int64_t, std::uint32_t,
                                 std::uint64_t, float, double, CTimestamp, std::string, Bytes>;

    CValue() = default; ///< invalid
    explicit CValue(bool value) : held{value} {}
    explicit CValue(std::int32_t value) : held{value} {}
    explicit CValue(std::int64_t value) : held{value} {}
    explicit CValue(std::uint32_t value) : held{value} {}
    explicit CValue(std::uint64_t value) : held{value} {}
    explicit CValue(float value) : held{value} {}
    explicit CValue(double value) : held{value} {}
    explicit CValue(CTimestamp value) : held{std::move(value)} {}
    explicit CValue(std::string value) : held{std::move(value)} {}
    explicit CValue(const char* value) : held{std::string{value}} {}
    explicit CValue(Bytes value) : held{std::move(value)} {}

    bool isValid() const { return held.index() != 0; }

    /// Reading an invalid value gives false, 0, 0.0, the epoch, "" or no bytes; reading another alternative
    /// than the one held throws std::runtime_error that names both.
    bool as_bool() const;
    std::int32_t as_int32() const;
    std::int64_t as_int64() const;
    std::uint32_t as_uint32() const;
    std::uint64_t as_uint64() const;
    float as_float() const;
    double as_double() const;
    CTimestamp as_timestamp() const;
    std::string as_string() const;
    Bytes as_binary() const;

    /// The type of channel that takes this value; empty for an invalid one.
    std::optional<datatype> type() const;

    /// Numbers of all kinds, booleans as 0 and 1 and timestamps (in seconds) as one kind of number; empty for
    /// everything else. This is what alarm triggers compare and what state labels are keyed by.
    std::optional<double> asNumber() const;

    const Variant& variant() const { return held; }

    /// Same alternative and same content.
    friend bool operator==(const CValue& a, const CValue& b) { return a.held == b.held; }

private:
    Variant held;
};

/// Prints the content: "invalid", "true"/"false", a number in the shortest form that reads back the same, a
/// timestamp as ISO 8601 UTC, the text itself, bytes in hexadecimal.
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const CValue& value);

} // namespace qz
