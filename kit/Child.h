#pragma once

#include <cstddef>

namespace velk::kit {

struct Board;
struct Options;

/// The work of one child: all preparations, then every step from `firstStep` on. Tells `writeEnd` what it
/// finds and what it begins, and ends the process.
[[noreturn]] void runChild(const Options& options, Board& board, int writeEnd, std::size_t firstStep);

} // namespace velk::kit
