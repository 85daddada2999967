#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>

namespace velk::cli {

/// Prints one document over several lines, for commands that give one.
void printDocument(std::ostream& out, const nlohmann::ordered_json& json);

/// Prints one object on one line and flushes it, for commands that go on.
void printLine(std::ostream& out, const nlohmann::ordered_json& json);

} // namespace velk::cli
