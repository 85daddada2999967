#pragma once

#include "platform/common/Export.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace velk::powerdistribution {

/// One row of a vocabulary table: a member and the one text by which everybody knows it.
template <typename E>
struct EnumText {
    E value;
    std::string_view text;
};

/// Searches from the first row, so the first row with a number wins. "UNKNOWN" when there is none.
template <typename E, std::size_t N>
std::string findText(const std::array<EnumText<E>, N>& rows, E value) {
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto& r) { return r.value == value; });
    return row == rows.end() ? std::string{"UNKNOWN"} : std::string{row->text};
}

/// Every row has a text, and the numbers never fall.
template <typename E, std::size_t N>
constexpr bool areRowsWellFormed(const std::array<EnumText<E>, N>& rows) {
    const bool texts = std::all_of(rows.begin(), rows.end(), [](const auto& r) { return !r.text.empty(); });
    const bool sorted = std::is_sorted(rows.begin(), rows.end(),
                                       [](const auto& a, const auto& b) { return a.value < b.value; });
    return texts && sorted;
}

} // namespace velk::powerdistribution
