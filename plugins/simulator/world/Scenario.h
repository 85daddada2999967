#pragma once

#include "plugins/simulator/world/Command.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velk::simulator {

/// A timeline of commands. A plain value.
struct Scenario {
    struct Step {
        std::chrono::milliseconds at{0}; ///< simulated, from the start of the scenario
        std::string say;                 ///< a headline; may be empty
        std::optional<Command> command;  ///< empty for a step that only says something
    };

    std::string name;
    std::vector<Step> steps; ///< in the order of time; steps of one time as in the file
};

/// Reads {"name": …, "steps": [{"at": SECONDS, "say": …, "do": …, …}, …]}. Throws std::runtime_error
/// "FILE:LINE:COLUMN: " and what was expected, or "FILE: cannot be read".
Scenario readScenario(const std::filesystem::path& file);

} // namespace velk::simulator
