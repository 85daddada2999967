#pragma once

#include "cli/ExitCode.h"
#include "cli/Surroundings.h"

#include <string>

namespace velk::cli {

/// `completion SHELL`: the script for "bash", "zsh" or "fish".
ExitCode runCompletion(Surroundings& surroundings, const std::string& shell);

/// `manual`: the manual page, for `man -l -`.
ExitCode runManual(Surroundings& surroundings);

} // namespace velk::cli
