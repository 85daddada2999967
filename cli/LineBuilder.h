#pragma once

#include "cli/PartReader.h"
#include "cli/PowerPath.h"

#include <optional>
#include <string>
#include <string_view>

namespace velk::cli {

/// Collects the facts of one line, in the order in which they are said.
class LineBuilder {
public:
    using Tone = PathLine::Tone;

    LineBuilder(std::string name, std::string path);

    void say(const std::string& text, Tone tone = Tone::Plain) { line.facts.push_back({text, tone}); }

    /// Nothing is said of what is not known.
    void sayKnown(const std::optional<std::string>& text, std::string_view behind = "");

    /// Says `text` as bad when the flag is there and true.
    void sayIf(PartReader& part, std::string_view flag, const std::string& text);

    /// The points that the part has given count as used by the line.
    void use(const PartReader& part);

    bool isEmpty() const { return line.facts.empty(); }
    PathLine finish() { return std::move(line); }

private:
    PathLine line;
};

} // namespace velk::cli
