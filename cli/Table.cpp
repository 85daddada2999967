#include "cli/Table.h"

#include <algorithm>
#include <utility>

namespace velk::cli {

std::size_t displayWidth(const std::string& text) {
    std::size_t width = 0;
    bool escaped = false;
    for (const char letter : text) {
        if (letter == '\033') {
            escaped = true;
        } else if (escaped) {
            escaped = letter != 'm';
        } else if ((static_cast<unsigned char>(letter) & 0xC0U) != 0x80U) {
            ++width;
        }
    }
    return width;
}

void Table::print(std::ostream& out) const {
    for (const std::string& line : lines()) {
        out << line << '\n';
    }
}

std::vector<std::string> Table::lines() const {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size() && row.size() > 1; ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    std::vector<std::string> printed;
    for (const auto& row : rows) {
        std::string line;
        std::size_t wanted = 0;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (!row[i].empty()) {
                line.append(wanted - std::min(wanted, displayWidth(line)), ' ');
                line += row[i];
            }
            wanted += widths[i] + 2;
        }
        printed.push_back(std::move(line));
    }
    return printed;
}

} // namespace velk::cli
