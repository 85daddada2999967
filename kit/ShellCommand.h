#pragma once

#include <chrono>
#include <string>

namespace velk::kit {

/// Until a command of the user's must have ended.
inline constexpr std::chrono::milliseconds COMMAND_PATIENCE{60'000};

/// Runs a command of the user's by /bin/sh, with its output on the standard error, where no finding is looked
/// for. False when it fails, or is killed since it took longer than `COMMAND_PATIENCE`.
bool runShellCommand(const std::string& command);

} // namespace velk::kit
