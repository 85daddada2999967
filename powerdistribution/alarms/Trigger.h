#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/core/Value.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace velk::powerdistribution {

/// When a data point is an alarm, and what it is called. A plain value.
struct VELK_EXPORT Trigger {
    /// How the data point is compared.
    enum class Type : std::uint32_t { none = 0, value = 1, lower = 2, upper = 3, inbetween = 4, invalid = 5 };

    /// How bad it is.
    enum class Level : std::uint32_t { none = 0, good = 1, info = 2, warning = 3, critical = 4, invalid = 5 };

    Type type{Type::none};
    Level level{Level::none};
    std::int32_t priority{
        -1};               ///< place in the list of priorities, 0 first; -1 when the list does not name it
    Value threshold1;      ///< from the file, or what `reference` resolves to; empty for none
    Value threshold2;      ///< second threshold; the file format has no way to set it
    std::string code;      ///< empty when the file gives none
    std::string message;   ///< for state channels the state's name
    std::string reference; ///< text of the setting that gives threshold1 at run time; empty for a fixed one

    /// "UNKNOWN" for a number beyond the tables.
    static std::string_view to_string(Level level);
    static std::string_view to_string(Type type);

    /// Exact and case-sensitive; a text that is not in the table gives `invalid`.
    static void from_string(std::string_view text, Level& out);
    static void from_string(std::string_view text, Type& out);
};

/// Prints "Trigger(type=…, level=…, priority=…, threshold1=…, threshold2=…, code=…, message=…)".
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const Trigger& trigger);

} // namespace velk::powerdistribution
