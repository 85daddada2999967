#pragma once

#include "platform/program/ProgramTable.h"

#include <string>

namespace velk::program {

/// The hidden command that a shell asks for what may stand in place of a word:
/// `tess complete-paths KIND WORD [PART]` prints the candidates, one a line, and nothing when anything fails.
/// `KIND` is "path", "part", "setting" or "action"; a candidate that ends with a dot goes on.
inline constexpr const char* COMPLETING_COMMAND = "complete-paths";

/// Scripts that teach a shell the commands and options of `table`, and their values as far as an `Offer` says
/// what they are.
std::string bashCompletion(const ProgramTable& table);
std::string zshCompletion(const ProgramTable& table);
std::string fishCompletion(const ProgramTable& table);

/// The one for "bash", "zsh" or "fish"; empty for any other.
std::string completionFor(const std::string& shell, const ProgramTable& table);

/// "path", "part", "setting", "action"; empty for what is not asked of the program.
std::string kindOf(Offer offer);

} // namespace velk::program
