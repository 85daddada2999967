#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace velk::daemon {

/// Something that a check has found. A plain value.
struct Finding {
    enum class Severity { Error, Warning };

    Severity severity{Severity::Error};
    std::string text; ///< "FILE:LINE:COLUMN: " and what is wrong and expected
};

using Findings = std::vector<Finding>;

/// Whether one of them keeps the configuration from being used.
bool hasError(const Findings& findings);

/// One line a finding; warnings say so.
void print(std::ostream& out, const Findings& findings);

/// "FILE:LINE:COLUMN: text".
std::string located(const std::string& file, std::size_t line, std::size_t column, const std::string& text);

} // namespace velk::daemon
