#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace velk::cli {

/// Rows of text in columns as wide as their widest cell.
class Table {
public:
    /// A row may be shorter than others; one of a single cell stands for itself and widens no column. Escape
    /// sequences of colours take no width.
    void add(std::vector<std::string> row) { rows.push_back(std::move(row)); }

    /// Two blanks between columns, none at the end of a line.
    void print(std::ostream& out) const;

    /// What `print` prints, line by line.
    std::vector<std::string> lines() const;

private:
    std::vector<std::vector<std::string>> rows;
};

/// How many characters of a terminal `text` takes: code points of UTF-8, without colours.
std::size_t displayWidth(const std::string& text);

} // namespace velk::cli
