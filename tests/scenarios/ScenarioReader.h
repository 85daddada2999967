#pragma once

#include "tests/scenarios/Scenario.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace velk::scenarios {

/// Names that stand for texts in a scenario: "$FOLDER".
using Variables = std::map<std::string, std::string>;

/// The sets of variables that a scenario is to be played with, one after the other; one empty set without
/// "variants". Throws `ScenarioError`.
std::vector<Variables> readVariants(const std::filesystem::path& file);

/// Reads a scenario; `variables` take the place of their names. Throws `ScenarioError`.
Scenario readScenario(const std::filesystem::path& file, const Variables& variables);

/// A text as JSON writes it, with its quotes.
std::string quoted(const std::string& text);

} // namespace velk::scenarios
