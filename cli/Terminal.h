#pragma once

#include <cstddef>

namespace velk::cli {

/// How many characters a line of the file has: those of the terminal that it is, else COLUMNS of the
/// environment, else 80. From 20 to 1000.
std::size_t terminalWidth(int descriptor);

/// Whether the environment (LC_ALL, else LC_CTYPE, else LANG) is one of UTF-8.
bool speaksUtf8();

} // namespace velk::cli
