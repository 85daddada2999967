#pragma once

#include "platform/program/ProgramTable.h"

#include <string>

namespace velk::program {

/// The manual page of a program in the man macros of roff, with every command, argument and option that its
/// table shows.
std::string manualPage(const ProgramTable& table);

} // namespace velk::program
