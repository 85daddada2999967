#include "cli/NumberChart.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velk::cli {

namespace {

constexpr std::size_t DOT_ROWS = 4;    ///< of a character
constexpr std::size_t DOT_COLUMNS = 2; ///< likewise

/// The bits of the dots of a Braille character, by column and by row from its top.
constexpr std::array<std::array<unsigned char, DOT_ROWS>, DOT_COLUMNS> dotBits{
    {{0x01, 0x02, 0x04, 0x40}, {0x08, 0x10, 0x20, 0x80}}};

/// U+2800 with these dots, in UTF-8; a blank for none.
std::string braille(unsigned char bits) {
    if (bits == 0) {
        return " ";
    }
    return {static_cast<char>(0xE2), static_cast<char>(0xA0 | (bits >> 6U)),
            static_cast<char>(0x80 | (bits & 0x3FU))};
}

/// From 0 at the bottom to `rows` - 1.
std::size_t rowOf(double value, double bottom, double top, std::size_t rows) {
    const double share = std::clamp((value - bottom) / (top - bottom), 0.0, 1.0);
    return static_cast<std::size_t>(std::lround(share * static_cast<double>(rows - 1)));
}

} // namespace

std::vector<std::string> NumberChart::lines(const std::vector<std::optional<HistoryAnswer::Column>>& was,
                                            double bottom, double top) const {
    return unicode ? dots(was, bottom, top) : letters(was, bottom, top);
}

std::vector<std::string> NumberChart::dots(const std::vector<std::optional<HistoryAnswer::Column>>& was,
                                           double bottom, double top) const {
    constexpr std::size_t rows = HEIGHT * DOT_ROWS;
    std::vector<std::vector<unsigned char>> cells(HEIGHT, std::vector<unsigned char>(width, 0));
    for (std::size_t i = 0; i < std::min(was.size(), columns()); ++i) {
        if (!was[i]) {
            continue;
        }
        const std::size_t high = rowOf(was[i]->greatest, bottom, top, rows);
        for (std::size_t row = rowOf(was[i]->least, bottom, top, rows); row <= high; ++row) {
            const std::size_t fromTop = rows - 1 - row;
            cells[fromTop / DOT_ROWS][i / DOT_COLUMNS] |= dotBits[i % DOT_COLUMNS][fromTop % DOT_ROWS];
        }
    }
    std::vector<std::string> made;
    for (const std::vector<unsigned char>& line : cells) {
        made.emplace_back();
        for (const unsigned char cell : line) {
            made.back() += braille(cell);
        }
    }
    return made;
}

std::vector<std::string> NumberChart::letters(const std::vector<std::optional<HistoryAnswer::Column>>& was,
                                              double bottom, double top) const {
    std::vector<std::string> made(HEIGHT, std::string(width, ' '));
    for (std::size_t i = 0; i < std::min(was.size(), width); ++i) {
        if (!was[i]) {
            continue;
        }
        const std::size_t high = rowOf(was[i]->greatest, bottom, top, HEIGHT);
        for (std::size_t row = rowOf(was[i]->least, bottom, top, HEIGHT); row <= high; ++row) {
            made[HEIGHT - 1 - row][i] = '|';
        }
        made[HEIGHT - 1 - rowOf(was[i]->mean, bottom, top, HEIGHT)][i] = '*';
    }
    return made;
}

} // namespace velk::cli
