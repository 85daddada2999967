#pragma once

#include "cli/HistoryAnswer.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velk::cli {

/// Draws a number over time with the characters of a terminal, without axes.
///
/// With Unicode a character has two columns and four rows of dots; without, one of each: a star where the
/// mean is and bars from the least to the greatest.
class NumberChart {
public:
    static constexpr std::size_t HEIGHT = 8; ///< lines

    NumberChart(std::size_t widthInCharacters, bool withUnicode) :
        width{widthInCharacters}, unicode{withUnicode} {}

    /// How many columns fill the width.
    std::size_t columns() const { return unicode ? width * 2 : width; }

    /// The lines from top to bottom, each as wide as the chart. `bottom` is less than `top`; what lies
    /// outside is drawn at the border.
    std::vector<std::string> lines(const std::vector<std::optional<HistoryAnswer::Column>>& was,
                                   double bottom, double top) const;

private:
    std::vector<std::string> dots(const std::vector<std::optional<HistoryAnswer::Column>>& was, double bottom,
                                  double top) const;
    std::vector<std::string> letters(const std::vector<std::optional<HistoryAnswer::Column>>& was,
                                     double bottom, double top) const;

    std::size_t width;
    bool unicode;
};

} // namespace velk::cli
